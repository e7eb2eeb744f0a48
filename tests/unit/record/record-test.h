// The phone's record files, and the log kept.
#pragma once

#include "tests/unit/links.h"
#include "tests/unit/record-files.h"

class record_test : public context_test, protected record_files {};
