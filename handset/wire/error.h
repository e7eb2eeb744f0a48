#pragma once

#include <stdexcept>

namespace handset {

// The phone cannot do what was asked; the text says what and why.
struct error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace handset
