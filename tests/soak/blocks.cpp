#include "tests/soak/blocks.h"

#include <algorithm>

#include "amt/amt-convert/wrap.h"
#include "tests/hex.h"

namespace soak {

namespace {

constexpr std::size_t MOST_SHOWN = 60;  // bytes
constexpr std::size_t LONGEST_FOREIGN_VALUE = 64;

std::string little(std::uint32_t number, int size) {
  std::string bytes;
  for (int place = 0; place < size; ++place) bytes += static_cast<char>(number >> (8 * place) & 0xFF);
  return bytes;
}

std::uint32_t number(std::string_view bytes, std::size_t at, std::size_t size) {
  if (bytes.size() < at + size) throw failure("an answer ends too early: " + show(bytes));
  std::uint32_t value = 0;
  for (std::size_t place = size; place > 0; --place) {
    value = value << 8 | static_cast<std::uint8_t>(bytes[at + place - 1]);
  }
  return value;
}

std::uint8_t byte_at(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint8_t>(number(bytes, at, 1));
}

std::uint32_t checksum(std::string_view bytes) {
  const std::vector<std::uint8_t> covered(bytes.begin(), bytes.end());
  return amt_wrap_checksum(covered);
}

atom make_atom(std::uint8_t id, char kind, const std::string& text) {
  if (kind == 'i') return {id, 1, 4, little(static_cast<std::uint32_t>(std::stoll(text)), 4)};
  if (kind == 'f') return {id, 4, 1, little(static_cast<std::uint32_t>(std::stoul(text)), 1)};
  if (kind == 's') return {id, 2, static_cast<std::uint16_t>(text.size()), text};
  const std::string bytes = from_hex(text);
  return {id, 3, static_cast<std::uint16_t>(bytes.size()), bytes};
}

atom foreign_atom(random_source& random) {
  const std::string value = random.noise(random.below(LONGEST_FOREIGN_VALUE));
  const auto length = static_cast<std::uint16_t>(random.once_in(4) ? random.below(65536) : value.size());
  return {random.byte(), random.byte(), length, value};
}

}  // namespace

std::string fill_digits(random_source& random, std::string_view text) {
  std::string filled(text);
  for (char& character : filled) {
    if (character == '#') character = static_cast<char>('0' + random.below(10));
  }
  return filled;
}

request make_request(random_source& random, std::uint8_t id, std::string_view atoms) {
  request wanted{id, {}};
  const std::string text = fill_digits(random, atoms);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    const std::size_t colon = text.find(':', at);
    const auto atom_id = static_cast<std::uint8_t>(std::stoul(text.substr(at, colon - at)));
    wanted.atoms.push_back(make_atom(atom_id, text.at(colon + 1), text.substr(colon + 3, end - colon - 3)));
    at = end + 1;
  }
  return wanted;
}

std::string bare(const request& wanted) {
  std::string data;
  for (const atom& each : wanted.atoms) {
    data += '\xEE';
    data += static_cast<char>(each.id);
    data += static_cast<char>(each.type);
    data += little(each.length, 2) + each.value;
  }
  const auto size = static_cast<std::uint32_t>(data.size());
  return little(size + 6, 2) + '\xBB' + static_cast<char>(wanted.id) + little(size, 2) + data;
}

std::string wrapped(std::string_view frame) {
  std::string block = "\xAA\xBB\xCC\xDD" + little(static_cast<std::uint32_t>(frame.size()) + 8, 4) + little(2, 4);
  block += frame;
  return block + little(checksum(block), 4);
}

void damage_atoms(random_source& random, request& wanted) {
  for (atom& each : wanted.atoms) {
    const std::size_t damage = random.below(5);
    if (damage == 0) each.type = random.byte();
    if (damage == 1) each.length = static_cast<std::uint16_t>(random.below(65536));
    if (damage == 2) each.length = static_cast<std::uint16_t>(random.below(8));
    if (damage == 3) each.value = random.noise(each.value.size());
  }
  if (!wanted.atoms.empty() && random.once_in(4)) wanted.atoms.pop_back();
  const std::size_t foreign = random.below(4);
  for (std::size_t count = 0; count < foreign; ++count) wanted.atoms.push_back(foreign_atom(random));
}

const atom* answer::find(std::uint8_t atom_id) const {
  const auto found =
      std::find_if(atoms.begin(), atoms.end(), [atom_id](const atom& each) { return each.id == atom_id; });
  return found == atoms.end() ? nullptr : &*found;
}

std::optional<std::uint32_t> answer::result() const {
  const atom* found = find(1);
  if (found == nullptr) return std::nullopt;
  if (found->type != 1 || found->length != 4) throw failure("a result that is no integer");
  return number(found->value, 0, 4);
}

answer take_apart(std::string_view frame) {
  const auto wrong = [frame](const char* what) { return failure(std::string(what) + " in frame " + show(frame)); };
  if (number(frame, 0, 2) != frame.size() || number(frame, 4, 2) + 6 != frame.size()) throw wrong("wrong length");
  if (byte_at(frame, 2) != 0xBB) throw wrong("no command head");
  answer found{byte_at(frame, 3), {}};
  for (std::size_t at = 6; at < frame.size();) {
    if (byte_at(frame, at) != 0xEE) throw wrong("no atom head");
    const auto length = static_cast<std::uint16_t>(number(frame, at + 3, 2));
    if (frame.size() < at + 5 + length) throw wrong("an atom leaves the frame");
    found.atoms.push_back(
        {byte_at(frame, at + 1), byte_at(frame, at + 2), length, std::string(frame.substr(at + 5, length))});
    at += std::size_t{5} + length;
  }
  return found;
}

std::string_view unwrap(std::string_view block) {
  const std::string_view covered = block.substr(0, block.size() - 4);
  if (number(block, 4, 4) + 8 != block.size() || number(block, 8, 4) != 2 ||
      number(block, covered.size(), 4) != checksum(covered)) {
    throw failure("a wrong envelope: " + show(block));
  }
  return covered.substr(12);
}

std::string show(std::string_view bytes) {
  const std::string_view shown = bytes.substr(0, MOST_SHOWN);
  const std::string text = to_hex(shown);
  return shown.size() == bytes.size() ? text : text + "... (" + std::to_string(bytes.size()) + " bytes)";
}

}  // namespace soak
