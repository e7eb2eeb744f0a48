// What a phone has when it reaches the test line: the properties of its build and the records of its image.
#pragma once

#include "handset/modem/modem.h"
#include "handset/phone/options.h"

namespace handset {

// Adds them to the options; what is there already stays.
void add_factory_image(phone_options& options);
// What its modem was given before.
void add_factory_identities(modem& the_modem);

}  // namespace handset
