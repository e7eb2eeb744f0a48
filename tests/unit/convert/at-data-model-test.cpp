// Both conversions against a second, simple model of them, over many random frames.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>

#include "amt/amt-convert/at-data.h"
#include "tests/unit/convert/frames.h"

namespace {

constexpr int ROUNDS = MODEL_ROUNDS;

struct atom {
  int m_id;
  int m_type;
  byte_string m_value;
};

byte_string little(std::size_t value, int width) {
  byte_string bytes;
  for (int i = 0; i < width; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  return bytes;
}

byte_string big(std::uint32_t value) {
  const byte_string bytes = little(value, 4);
  return {bytes.rbegin(), bytes.rend()};
}

void append(byte_string& bytes, const byte_string& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

byte_string frame_bytes(int id, const std::vector<atom>& atoms) {
  byte_string data;
  for (const auto& one : atoms) {
    append(data, {0xEE, static_cast<std::uint8_t>(one.m_id), static_cast<std::uint8_t>(one.m_type)});
    append(data, little(one.m_value.size(), 2));
    append(data, one.m_value);
  }
  byte_string bytes = little(data.size() + 6, 2);
  append(bytes, {0xBB, static_cast<std::uint8_t>(id)});
  append(bytes, little(data.size(), 2));
  append(bytes, data);
  return bytes;
}

class generator {
 public:
  explicit generator(std::uint32_t seed) : m_random(seed) {}
  std::size_t up_to(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit)(m_random); }
  byte_string bytes(std::size_t count) {
    byte_string result(count);
    for (auto& byte : result) byte = static_cast<std::uint8_t>(up_to(255));
    return result;
  }
  atom any_atom() {
    const int type = static_cast<int>(1 + up_to(3));
    const std::size_t length = type == 1 ? 4 : type == 4 ? 1 : up_to(300);
    return {static_cast<int>(up_to(255)), type, bytes(length)};
  }

 private:
  std::mt19937 m_random;
};

TEST(AtDataModel, RandomRequests_GiveIdAndValues) {
  generator random(1);
  for (int round = 0; round < ROUNDS; ++round) {
    const int id = random.up_to(3) == 0 ? 151 : static_cast<int>(random.up_to(255));
    std::vector<atom> atoms(random.up_to(8));
    for (auto& one : atoms) one = random.any_atom();
    byte_string wanted = {static_cast<std::uint8_t>(id)};
    for (const auto& one : atoms) {
      if (id == 151) append(wanted, little(one.m_value.size(), 2));
      append(wanted, one.m_value);
    }
    const byte_string bytes = frame_bytes(id, atoms);
    ASSERT_LE(bytes.size(), AMT_FRAME_SIZE);
    byte_string out(AMT_FRAME_SIZE);
    std::size_t length = 0;
    ASSERT_EQ(amt_at_data_from_frame(*frame_of(bytes), out, &length).m_fault, amt_at_fault_en::NONE);
    out.resize(length);
    ASSERT_EQ(out, wanted) << "round " << round;
  }
}

// A damaged frame gives a fault or bytes that stand in the frame, never anything else and nothing outside.
TEST(AtDataModel, DamagedRequests_NeverLeaveTheBuffers) {
  generator random(2);
  for (int round = 0; round < ROUNDS; ++round) {
    std::vector<atom> atoms(random.up_to(8));
    for (auto& one : atoms) one = random.any_atom();
    amt_frame_st frame = *frame_of(frame_bytes(static_cast<int>(random.up_to(255)), atoms));
    for (std::size_t i = 1 + random.up_to(3); i > 0; --i) {
      frame[random.up_to(60)] = static_cast<std::uint8_t>(random.up_to(255));
    }
    byte_string out(random.up_to(300) + 1);
    std::size_t length = 0;
    amt_at_data_from_frame(frame, out, &length);
    ASSERT_LE(length, out.size());
  }
}

struct field {
  int m_atom;
  char m_kind;  // i integer, f flag, b bytes of m_size, l bytes after a u32, s bytes after a u16
  std::size_t m_size = 0;
};

const std::map<int, std::vector<field>> FIELDS = {
    {8, {{21, 'b', 15}}}, {24, {{12, 'i'}, {4, 'l'}}}, {26, {{13, 'i'}}},  {46, {{19, 'i'}, {18, 'b', 64}}},
    {48, {{4, 'l'}}},     {60, {{24, 'i'}}},           {62, {{4, 'l'}}},   {78, {{34, 'l'}}},
    {100, {{41, 'f'}}},   {106, {{43, 'l'}}},          {110, {{44, 'f'}}}, {114, {{4, 'l'}}},
    {152, {{62, 's'}}},   {221, {{62, 's'}}}};

// Makes an answer and the frame that it stands for.
std::pair<byte_string, byte_string> any_answer(generator& random) {
  const int id = static_cast<int>(random.up_to(255));
  const auto result = static_cast<std::uint32_t>(random.up_to(0xFFFFFFFF));
  byte_string at_data = {static_cast<std::uint8_t>(id)};
  append(at_data, big(result));
  std::vector<atom> atoms = {{1, 1, little(result, 4)}};
  const auto known = FIELDS.find(id);
  if (known == FIELDS.end()) append(at_data, random.bytes(random.up_to(50)));
  for (const auto& one : known == FIELDS.end() ? std::vector<field>{} : known->second) {
    if (one.m_kind == 'i') {
      const auto value = static_cast<std::uint32_t>(random.up_to(0xFFFFFFFF));
      append(at_data, big(value));
      atoms.push_back({one.m_atom, 1, little(value, 4)});
      continue;
    }
    const std::size_t size = one.m_kind == 'f' ? 1 : one.m_kind == 'b' ? one.m_size : 1 + random.up_to(400);
    const byte_string value = random.bytes(size);
    if (one.m_kind == 'l') append(at_data, little(size, 4));
    if (one.m_kind == 's') append(at_data, little(size, 2));
    append(at_data, value);
    atoms.push_back({one.m_atom, one.m_kind == 'f' ? 4 : 3, value});
  }
  return {at_data, frame_bytes(id, atoms)};
}

TEST(AtDataModel, RandomResponses_GiveTheIdsAtoms) {
  generator random(3);
  for (int round = 0; round < ROUNDS; ++round) {
    const auto [at_data, wanted] = any_answer(random);
    amt_frame_st frame;
    ASSERT_EQ(amt_frame_from_at_data(at_data, frame).m_fault, amt_at_fault_en::NONE);
    ASSERT_EQ(text_of(frame), to_hex(wanted)) << "round " << round;
  }
}

// An answer cut anywhere after its result code reads as if zeros followed.
TEST(AtDataModel, CutResponses_ReadAsIfZerosFollowed) {
  generator random(4);
  for (int round = 0; round < ROUNDS; ++round) {
    byte_string at_data = any_answer(random).first;
    if (at_data.size() < 7) continue;
    at_data.resize(6 + random.up_to(at_data.size() - 6));
    byte_string filled_up = at_data;
    filled_up.resize(AMT_FRAME_SIZE);
    amt_frame_st cut_frame;
    amt_frame_st filled_frame;
    const auto cut_fault = amt_frame_from_at_data(at_data, cut_frame).m_fault;
    ASSERT_EQ(cut_fault, amt_frame_from_at_data(filled_up, filled_frame).m_fault);
    if (cut_fault != amt_at_fault_en::NONE) continue;
    ASSERT_EQ(cut_frame, filled_frame);
  }
}

}  // namespace
