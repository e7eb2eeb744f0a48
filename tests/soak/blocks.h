// Requests as bytes, good ones and damaged ones, and what comes back, taken apart.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/soak/random-source.h"

namespace soak {

// Ends a soak when the service does what it must not.
struct failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct atom {
  std::uint8_t id;
  std::uint8_t type;
  std::uint16_t length;  // as in the atom; the value may have another length
  std::string value;
};

struct request {
  std::uint8_t id;
  std::vector<atom> atoms;
};

// Atoms from a text: "39:i=3" integer, "15:f=1" flag, "37:s=text" string, "154:b=06" bytes in hexadecimal; apart by
// blanks. Each '#' is a digit by chance.
request make_request(random_source& random, std::uint8_t id, std::string_view atoms);
// The text with a digit for each '#'.
std::string fill_digits(random_source& random, std::string_view text);

std::string bare(const request& wanted);
std::string wrapped(std::string_view bare);

// Atoms that are not what their handler expects: other types, lengths and values, missing and foreign ones.
void damage_atoms(random_source& random, request& wanted);

// An answer's frame. Throws failure when it is not well-formed.
struct answer {
  std::uint8_t id;
  std::vector<atom> atoms;

  const atom* find(std::uint8_t atom_id) const;
  std::optional<std::uint32_t> result() const;  // atom 1
};
answer take_apart(std::string_view bare);
// The bare frame inside a wrapped one; throws failure when length, kind or checksum are wrong.
std::string_view unwrap(std::string_view wrapped);

std::string show(std::string_view bytes);  // in hexadecimal digits, a long one cut

}  // namespace soak
