// The page: one HTML document with everything in it.
#pragma once

const char* web_page();
