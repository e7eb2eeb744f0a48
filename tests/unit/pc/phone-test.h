// As at_test, with the phone's record files.
#pragma once

#include "tests/unit/at-test.h"
#include "tests/unit/record-files.h"

class phone_test : public at_test, protected record_files {};
