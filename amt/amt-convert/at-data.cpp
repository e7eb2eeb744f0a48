#include "amt/amt-convert/at-data.h"

#include <algorithm>

#include "amt/amt-convert/ids.h"
namespace {

constexpr std::size_t COMMAND_HEAD_AT = 2;

constexpr amt_at_result_st DONE{};

amt_at_result_st fault(amt_at_fault_en what, std::uint32_t found = 0, std::uint32_t wanted = 0) {
  return {what, found, wanted};
}

// Appends to a buffer, or refuses.
class appender {
 public:
  appender(std::span<std::uint8_t> out, std::size_t& length) : m_out(out), m_length(length) {}
  bool add(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > m_out.size() - m_length) return false;
    std::copy(bytes.begin(), bytes.end(), m_out.begin() + static_cast<std::ptrdiff_t>(m_length));
    m_length += bytes.size();
    return true;
  }

 private:
  std::span<std::uint8_t> m_out;
  std::size_t& m_length;
};

// The value length that a type prescribes; 0 when it prescribes none.
std::uint32_t fixed_length(std::uint8_t type) {
  if (type == AMT_ATOM_INT) return 4;
  return type == AMT_ATOM_FLAG ? 1 : 0;
}

amt_at_result_st append_atom(const amt_atom_st& atom, bool is_length_wanted, appender& out) {
  if (is_length_wanted) {  // written even when the value is then refused
    std::array<std::uint8_t, 2> length{};
    amt_write_u16(length.data(), atom.m_length);
    if (!out.add(length)) return fault(amt_at_fault_en::OUTSIDE);
  }
  if (atom.m_type < AMT_ATOM_INT || atom.m_type > AMT_ATOM_FLAG) return fault(amt_at_fault_en::ATOM_TYPE, atom.m_type);
  const std::uint32_t wanted = fixed_length(atom.m_type);
  if (wanted != 0 && atom.m_length != wanted) return fault(amt_at_fault_en::ATOM_LENGTH, atom.m_length, wanted);
  if (atom.m_value.size() != atom.m_length || !out.add(atom.m_value)) return fault(amt_at_fault_en::OUTSIDE);
  return DONE;
}

amt_at_result_st append_atoms(const amt_frame_st& frame, appender& out) {
  const bool is_length_wanted = amt_frame_command_id(&frame) == AMT_DSP_TRANSPARENT_CONTROL_CMD;
  std::uint16_t remaining = amt_frame_data_length(&frame);  // 16 bits, as the lengths in the frame are
  std::size_t offset = AMT_FRAME_HEAD_SIZE;
  while (remaining != 0) {
    if (offset >= frame.size()) return fault(amt_at_fault_en::OUTSIDE);
    if (frame[offset] != AMT_ATOM_HEAD) return fault(amt_at_fault_en::ATOM_HEAD, frame[offset], AMT_ATOM_HEAD);
    const auto atom = amt_frame_atom_at(&frame, offset);
    if (!atom) return fault(amt_at_fault_en::OUTSIDE);
    const amt_at_result_st result = append_atom(*atom, is_length_wanted, out);
    if (result.m_fault != amt_at_fault_en::NONE) return result;
    const std::size_t step = AMT_ATOM_HEAD_SIZE + atom->m_length;
    offset += step;
    remaining = static_cast<std::uint16_t>(remaining - step);
  }
  return DONE;
}

// How a field of a response stands in the AT data.
enum class field_en : std::uint8_t { NONE, INT, FLAG, BYTES, BYTES_BEHIND_U32, BYTES_BEHIND_U16 };

struct field_st {
  field_en m_kind = field_en::NONE;
  std::uint8_t m_atom_id = 0;
  std::uint8_t m_length = 0;  // of BYTES
};

struct layout_st {
  std::uint8_t m_response_id;
  field_st m_first;
  field_st m_second = {};
};

// What follows the result code. In any other response nothing that follows becomes an atom.
constexpr layout_st LAYOUTS[] = {
    {AMT_READIMEI_RSPCMD, {field_en::BYTES, AMT_ATOM_IMEI, 15}},
    {AMT_RXDATA_RSPCMD, {field_en::INT, AMT_ATOM_RX_VALUE}, {field_en::BYTES_BEHIND_U32, AMT_ATOM_DATA}},
    {AMT_IQPOWER_RSPCMD, {field_en::INT, AMT_ATOM_IQ_POWER}},
    {AMT_VERSION_RSPCMD, {field_en::INT, AMT_ATOM_MODULE}, {field_en::BYTES, AMT_ATOM_VERSION, 64}},
    {AMT_READTABLE_MEMORY_RSPCMD, {field_en::BYTES_BEHIND_U32, AMT_ATOM_DATA}},
    {AMT_READ_RFADC_RSPCMD, {field_en::INT, AMT_ATOM_RF_ADC}},
    {AMT_READTABLE_FLASH_RSPCMD, {field_en::BYTES_BEHIND_U32, AMT_ATOM_DATA}},
    {AMT_IQSERIAL_RSPCMD, {field_en::BYTES_BEHIND_U32, AMT_ATOM_IQ_SERIAL}},
    {AMT_USIMCHECK_RSPCMD, {field_en::FLAG, AMT_ATOM_SIM}},
    {AMT_GSM_TRANSPARENT_CONTROL_RSPCMD, {field_en::BYTES_BEHIND_U32, AMT_ATOM_GSM_CONTROL}},
    {AMT_GSM_READTABLE_FLAG_FLASH_RSPCMD, {field_en::FLAG, AMT_ATOM_TABLE_FLAG}},
    {AMT_GSM_READTABLE_MEMORY_RSPCMD, {field_en::BYTES_BEHIND_U32, AMT_ATOM_DATA}},
    {AMT_DSP_TRANSPARENT_CONTROL_RSPCMD, {field_en::BYTES_BEHIND_U16, AMT_ATOM_DSP_CONTROL}},
    {AMT_DSP_TRANSPARENT_CONTROL_INDCMD, {field_en::BYTES_BEHIND_U16, AMT_ATOM_DSP_CONTROL}},
};

const layout_st* find_layout(std::uint8_t response_id) {
  const auto* layout = std::find_if(std::begin(LAYOUTS), std::end(LAYOUTS),
                                    [=](const layout_st& row) { return row.m_response_id == response_id; });
  return layout == std::end(LAYOUTS) ? nullptr : layout;
}

void report_call(const amt_at_cursor_st& cursor, const char* reader) {
  if (cursor.m_listener != nullptr) cursor.m_listener(reader);
}

bool is_in_record(const amt_at_cursor_st& cursor, std::size_t length) {
  return cursor.m_position <= AMT_FRAME_SIZE && length <= AMT_FRAME_SIZE - cursor.m_position;
}

// Copies as many bytes at the cursor as the data holds; out is zero already.
void copy_at(const amt_at_cursor_st& cursor, std::span<std::uint8_t> out) {
  const std::size_t begin = std::min(cursor.m_position, cursor.m_data.size());
  const auto rest = cursor.m_data.subspan(begin);
  std::copy_n(rest.begin(), std::min(rest.size(), out.size()), out.begin());
}

// Takes a length of `size` bytes, little-endian, off the data.
amt_at_result_st read_length(amt_at_cursor_st& cursor, std::size_t size, std::size_t& length) {
  if (!is_in_record(cursor, size)) return fault(amt_at_fault_en::OUTSIDE);
  std::array<std::uint8_t, 4> bytes{};
  copy_at(cursor, std::span(bytes).first(size));
  cursor.m_position += size;
  length = amt_read_u32(bytes.data());
  return DONE;
}

amt_at_result_st read_counted_bytes(amt_at_cursor_st& cursor, amt_frame_st& frame, std::size_t prefix_size,
                                    std::uint8_t atom_id) {
  std::size_t length = 0;
  const amt_at_result_st result = read_length(cursor, prefix_size, length);
  if (result.m_fault != amt_at_fault_en::NONE) return result;
  return rsp_at_data_2_amt_data_atom_byte(cursor, frame, length, atom_id);
}

amt_at_result_st read_field(amt_at_cursor_st& cursor, amt_frame_st& frame, const field_st& field) {
  switch (field.m_kind) {
    case field_en::INT:
      return rsp_at_data_2_amt_data_atom_int(cursor, frame, field.m_atom_id);
    case field_en::FLAG:
      return rsp_at_data_2_amt_data_atom_bool(cursor, frame, field.m_atom_id);
    case field_en::BYTES:
      return rsp_at_data_2_amt_data_atom_byte(cursor, frame, field.m_length, field.m_atom_id);
    case field_en::BYTES_BEHIND_U32:
      return read_counted_bytes(cursor, frame, 4, field.m_atom_id);
    case field_en::BYTES_BEHIND_U16:
      return read_counted_bytes(cursor, frame, 2, field.m_atom_id);
    case field_en::NONE:
      break;
  }
  return DONE;
}

constexpr std::array<std::int8_t, 256> make_digit_values() {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::size_t digit = 0; digit < 10; ++digit) values['0' + digit] = static_cast<std::int8_t>(digit);
  for (std::size_t digit = 10; digit < 16; ++digit) {
    values['A' + digit - 10] = static_cast<std::int8_t>(digit);
    values['a' + digit - 10] = static_cast<std::int8_t>(digit);
  }
  return values;
}

constexpr auto DIGIT_VALUES = make_digit_values();

std::uint8_t nibble(char character) {
  const std::int8_t value = DIGIT_VALUES[static_cast<std::uint8_t>(character)];
  return value < 0 ? 0 : static_cast<std::uint8_t>(value);
}

}  // namespace

amt_at_result_st amt_at_data_from_frame(const amt_frame_st& frame, std::span<std::uint8_t> out, std::size_t* length) {
  std::fill(out.begin(), out.end(), std::uint8_t{0});
  *length = 0;
  if (frame[COMMAND_HEAD_AT] != AMT_COMMAND_HEAD) {
    return fault(amt_at_fault_en::COMMAND_HEAD, frame[COMMAND_HEAD_AT], AMT_COMMAND_HEAD);
  }
  appender at_data(out, *length);
  const std::uint8_t id = amt_frame_command_id(&frame);
  if (!at_data.add({&id, 1})) return fault(amt_at_fault_en::OUTSIDE);
  return append_atoms(frame, at_data);
}

amt_at_result_st rsp_at_data_2_amt_data_atom_int(amt_at_cursor_st& cursor, amt_frame_st& frame, std::uint8_t atom_id) {
  report_call(cursor, __func__);
  std::array<std::uint8_t, 4> bytes{};
  if (!is_in_record(cursor, bytes.size())) return fault(amt_at_fault_en::OUTSIDE);
  copy_at(cursor, bytes);
  std::reverse(bytes.begin(), bytes.end());
  if (!amt_frame_add_int(&frame, atom_id, amt_read_u32(bytes.data()))) return fault(amt_at_fault_en::OUTSIDE);
  cursor.m_position += bytes.size();
  return DONE;
}

amt_at_result_st rsp_at_data_2_amt_data_atom_bool(amt_at_cursor_st& cursor, amt_frame_st& frame, std::uint8_t atom_id) {
  report_call(cursor, __func__);
  std::array<std::uint8_t, 1> byte{};
  if (!is_in_record(cursor, byte.size())) return fault(amt_at_fault_en::OUTSIDE);
  copy_at(cursor, byte);
  if (!amt_frame_add_flag(&frame, atom_id, byte[0])) return fault(amt_at_fault_en::OUTSIDE);
  cursor.m_position += byte.size();
  return DONE;
}

amt_at_result_st rsp_at_data_2_amt_data_atom_byte(amt_at_cursor_st& cursor, amt_frame_st& frame, std::size_t length,
                                                  std::uint8_t atom_id) {
  report_call(cursor, __func__);
  if (length == 0) return fault(amt_at_fault_en::EMPTY_BYTES);
  if (!is_in_record(cursor, length)) return fault(amt_at_fault_en::OUTSIDE);
  const bool is_complete = cursor.m_position + length <= cursor.m_data.size();
  bool is_added = false;
  if (is_complete) {
    is_added = amt_frame_add_bytes(&frame, atom_id, cursor.m_data.data() + cursor.m_position, length);
  } else {
    amt_frame_st filled_up{};
    copy_at(cursor, std::span(filled_up).first(length));
    is_added = amt_frame_add_bytes(&frame, atom_id, filled_up.data(), length);
  }
  if (!is_added) return fault(amt_at_fault_en::OUTSIDE);
  cursor.m_position += length;
  return DONE;
}

amt_at_result_st amt_frame_from_at_data(std::span<const std::uint8_t> at_data, amt_frame_st& frame,
                                        amt_at_listener listener) {
  const std::uint8_t id = at_data.empty() ? 0 : at_data[0];
  amt_frame_init(&frame, id);
  amt_at_cursor_st cursor{at_data, 1, listener};
  const amt_at_result_st result = rsp_at_data_2_amt_data_atom_int(cursor, frame, AMT_ATOM_RESULT);
  if (result.m_fault != amt_at_fault_en::NONE || cursor.m_position >= at_data.size()) return result;
  const layout_st* layout = find_layout(id);
  if (layout == nullptr) return DONE;
  const amt_at_result_st first = read_field(cursor, frame, layout->m_first);
  return first.m_fault == amt_at_fault_en::NONE ? read_field(cursor, frame, layout->m_second) : first;
}

void amt_hex_encode(std::span<const std::uint8_t> bytes, std::span<char> text) {
  static constexpr char DIGITS[] = "0123456789ABCDEF";
  char* out = text.data();
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), text.size() / 2))) {
    *out++ = DIGITS[byte >> 4];
    *out++ = DIGITS[byte & 15];
  }
}

void amt_hex_decode(std::string_view text, std::span<std::uint8_t> bytes) {
  const std::size_t whole = std::min(bytes.size(), text.size() / 2);
  for (std::size_t i = 0; i < whole; ++i) {
    bytes[i] = static_cast<std::uint8_t>(nibble(text[2 * i]) << 4 | nibble(text[2 * i + 1]));
  }
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(whole), bytes.end(), std::uint8_t{0});
  if (whole < bytes.size() && 2 * whole < text.size()) {  // the high digit of a last byte
    bytes[whole] = static_cast<std::uint8_t>(nibble(text[2 * whole]) << 4);
  }
}

int amt_hex_digit(char character) {
  return DIGIT_VALUES[static_cast<std::uint8_t>(character)];
}
