// What goes wrong in the virtual handset.
#pragma once

#include <stdexcept>

namespace handset {

// What was asked for cannot be done; the text explains what and why.
struct error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace handset
