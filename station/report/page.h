// The template of the page, from page.mustache.
#pragma once

const char* report_page_template();
