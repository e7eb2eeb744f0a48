-- A dissector for Wireshark and tshark: what passed between a station, a phone and its modem. It reads the packet
-- captures of "amt-station export FILE --pcap OUT"; docs/capture.md describes them and the fields.
--
-- Wireshark has a protocol named AMT of its own. So this one is named vxamt; its fields begin with amt.

local vxamt = Proto("vxamt", "Factory test frames and AT text")

local COMMANDS = {
  [0] = "AMT_NONE_CMD", [1] = "AMT_READFLASH_CMD", [2] = "AMT_READFLASH_RSPCMD", [3] = "AMT_WRITEFLASH_CMD",
  [4] = "AMT_WRITEFLASH_RSPCMD", [5] = "AMT_WRITEIMEI_CMD", [6] = "AMT_WRITEIMEI_RSPCMD", [7] = "AMT_READIMEI_CMD",
  [8] = "AMT_READIMEI_RSPCMD", [9] = "AMT_READ_BATTERY_CMD", [10] = "AMT_READ_BATTERY_RSPCMD",
  [11] = "AMT_STARTTX_CMD", [12] = "AMT_STARTTX_RSPCMD", [13] = "AMT_STOPTX_CMD", [14] = "AMT_STOPTX_RSPCMD",
  [15] = "AMT_CHANGETXPOWER_CMD", [16] = "AMT_CHANGETXPOWER_RSPCMD", [17] = "AMT_CHANGETXFREQ_CMD",
  [18] = "AMT_CHANGETXFREQ_RSPCMD", [19] = "AMT_STARTRX_CMD", [20] = "AMT_STARTRX_RSPCMD", [21] = "AMT_STOPRX_CMD",
  [22] = "AMT_STOPRX_RSPCMD", [23] = "AMT_RXDATA_CMD", [24] = "AMT_RXDATA_RSPCMD", [25] = "AMT_IQPOWER_CMD",
  [26] = "AMT_IQPOWER_RSPCMD", [27] = "AMT_CHANGERXFREQ_CMD", [28] = "AMT_CHANGERXFREQ_RSPCMD",
  [29] = "AMT_SHOWLCD_CMD", [30] = "AMT_SHOWLCD_RSPCMD", [31] = "AMT_AUDIOLOOP_CMD", [32] = "AMT_AUDIOLOOP_RSPCMD",
  [33] = "AMT_BELL_CMD", [34] = "AMT_BELL_RSPCMD", [35] = "AMT_VIBRATION_CMD", [36] = "AMT_VIBRATION_RSPCMD",
  [37] = "AMT_BACKLIGHT_CMD", [38] = "AMT_BACKLIGHT_RSPCMD", [39] = "AMT_CHANGEMODE_CMD",
  [40] = "AMT_CHANGEMODE_RSPCMD", [41] = "AMT_KEYBOARD_CMD", [42] = "AMT_KEYBOARD_RSPCMD", [43] = "AMT_KEYVALUE_CMD",
  [45] = "AMT_VERSION_CMD", [46] = "AMT_VERSION_RSPCMD", [47] = "AMT_READTABLE_MEMORY_CMD",
  [48] = "AMT_READTABLE_MEMORY_RSPCMD", [49] = "AMT_WRITETABLE_MEMORY_CMD", [50] = "AMT_WRITETABLE_MEMORY_RSPCMD",
  [51] = "AMT_READ_BATTERYADC_CMD", [52] = "AMT_READ_BATTERYADC_RSPCMD", [53] = "AMT_WRITE_BATTERYADC_CMD",
  [54] = "AMT_WRITE_BATTERYADC_RSPCMD", [55] = "AMT_TEMPERATURE_CMD", [56] = "AMT_TEMPERATURE_RSPCMD",
  [57] = "AMT_LCDLIGHT_CMD", [58] = "AMT_LCDLIGHT_RSPCMD", [59] = "AMT_READ_RFADC_CMD",
  [60] = "AMT_READ_RFADC_RSPCMD", [61] = "AMT_READTABLE_FLASH_CMD", [62] = "AMT_READTABLE_FLASH_RSPCMD",
  [63] = "AMT_WRITETABLE_FLASH_CMD", [64] = "AMT_WRITETABLE_FLASH_RSPCMD", [65] = "AMT_READ_OUTDATE_CMD",
  [66] = "AMT_READ_OUTDATE_RSPCMD", [67] = "AMT_WRITE_OUTDATE_CMD", [68] = "AMT_WRITE_OUTDATE_RSPCMD",
  [69] = "AMT_READ_FLUSHDATE_CMD", [70] = "AMT_READ_FLUSHDATE_RSPCMD", [71] = "AMT_EXIT_CMD",
  [72] = "AMT_EXIT_RSPCMD", [73] = "AMT_WRITE_CONTROL_CMD", [74] = "AMT_WRITE_CONTROL_RSPCMD",
  [75] = "AMT_READ_CONTROL_CMD", [76] = "AMT_READ_CONTROL_RSPCMD", [77] = "AMT_IQSERIAL_CMD",
  [78] = "AMT_IQSERIAL_RSPCMD", [79] = "AMT_IQCHECK_CMD", [80] = "AMT_IQCHECK_RSPCMD", [81] = "AMT_WRITE_GAININ_CMD",
  [82] = "AMT_WRITE_GAININ_RSPCMD", [83] = "AMT_READ_GAININ_CMD", [84] = "AMT_READ_GAININ_RSPCMD",
  [85] = "AMT_READ_BOARD_CMD", [86] = "AMT_READ_BOARD_RSPCMD", [87] = "AMT_WRITE_BOARD_CMD",
  [88] = "AMT_WRITE_BOARD_RSPCMD", [89] = "AMT_READ_TEST_RESULT_CMD", [90] = "AMT_READ_TEST_RESULT_RSPCMD",
  [91] = "AMT_WRITE_TEST_RESULT_CMD", [92] = "AMT_WRITE_TEST_RESULT_RSPCMD", [93] = "AMT_WRITE_VERSION_CMD",
  [94] = "AMT_WRITE_VERSION_RSPCMD", [95] = "AMT_WRITE_MIC_PREAMP_CMD", [96] = "AMT_WRITE_MIC_PREAMP_RSPCMD",
  [97] = "AMT_READ_MIC_PREAMP_CMD", [98] = "AMT_READ_MIC_PREAMP_RSPCMD", [99] = "AMT_USIMCHECK_CMD",
  [100] = "AMT_USIMCHECK_RSPCMD", [101] = "AMT_REFRESHTABLE_FLASH_CMD", [102] = "AMT_REFRESHTABLE_FLASH_RSPCMD",
  [103] = "AMT_GPIO_CMD", [104] = "AMT_GPIO_RSPCMD", [105] = "AMT_GSM_TRANSPARENT_CONTROL_CMD",
  [106] = "AMT_GSM_TRANSPARENT_CONTROL_RSPCMD", [107] = "AMT_GSM_READTABLE_FLASH_TO_MEMORY_CMD",
  [108] = "AMT_GSM_READTABLE_FLASH_TO_MEMORY_RSPCMD", [109] = "AMT_GSM_READTABLE_FLAG_FLASH_CMD",
  [110] = "AMT_GSM_READTABLE_FLAG_FLASH_RSPCMD", [111] = "AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH_CMD",
  [112] = "AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH_RSPCMD", [113] = "AMT_GSM_READTABLE_MEMORY_CMD",
  [114] = "AMT_GSM_READTABLE_MEMORY_RSPCMD", [115] = "AMT_GSM_WRITETABLE_MEMORY_CMD",
  [116] = "AMT_GSM_WRITETABLE_MEMORY_RSPCMD", [117] = "AMT_DIAL_CMD", [118] = "AMT_DIAL_RSPCMD",
  [119] = "AMT_HUNGUP_CMD", [120] = "AMT_HUNGUP_RSPCMD", [121] = "AMT_SWITCH_MODE_CMD",
  [122] = "AMT_SWITCH_MODE_RSPCMD", [123] = "AMT_WRITE_GAINOUT_CMD", [124] = "AMT_WRITE_GAINOUT_RSPCMD",
  [125] = "AMT_READ_GAINOUT_CMD", [126] = "AMT_READ_GAINOUT_RSPCMD", [127] = "AMT_WRITE_MIC_GAININ_CMD",
  [128] = "AMT_WRITE_MIC_GAININ_RSPCMD", [129] = "AMT_READ_MIC_GAININ_CMD", [130] = "AMT_READ_MIC_GAININ_RSPCMD",
  [131] = "AMT_SET_DEFAULT_ACCESS_TECH_CMD", [132] = "AMT_SET_DEFAULT_ACCESS_TECH_RSPCMD",
  [133] = "AMT_WRITECARD_CMD", [134] = "AMT_WRITECARD_RSPCMD", [135] = "AMT_READCARD_CMD",
  [136] = "AMT_READCARD_RSPCMD", [137] = "AMT_READCAPABILITY_CARD_CMD", [138] = "AMT_READCAPABILITY_CARD_RSPCMD",
  [139] = "AMT_CAMERA_PREVIEW_CMD", [140] = "AMT_CAMERA_PREVIEW_RSPCMD", [141] = "AMT_CAMERA_SNAPSHOT_CMD",
  [142] = "AMT_CAMERA_SNAPSHOT_RSPCMD", [143] = "AMT_CAMERA_SAVE_CMD", [144] = "AMT_CAMERA_SAVE_RSPCMD",
  [145] = "AMT_CAMERA_DEL_CMD", [146] = "AMT_CAMERA_DEL_RSPCMD", [147] = "AMT_SECOND_CAMERA_PREVIEW_CMD",
  [148] = "AMT_SECOND_CAMERA_PREVIEW_RSPCMD", [149] = "AMT_NVRESUME_CMD", [150] = "AMT_NVRESUME_RSPCMD",
  [151] = "AMT_DSP_TRANSPARENT_CONTROL_CMD", [152] = "AMT_DSP_TRANSPARENT_CONTROL_RSPCMD",
  [153] = "AMT_EDGE_READTABLE_FLASH_TO_MEMORY_CMD", [154] = "AMT_EDGE_READTABLE_FLASH_TO_MEMORY_RSPCMD",
  [155] = "AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH_CMD", [156] = "AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH_RSPCMD",
  [170] = "AMT_BLUETOOTH_CMD", [171] = "AMT_BLUETOOTH_RSPCMD", [172] = "AMT_BLUETOOTH_ADDRESS_CMD",
  [173] = "AMT_BLUETOOTH_ADDRESS_RSPCMD", [174] = "AMT_GPS_CONTROL_CMD", [175] = "AMT_GPS_CONTROL_RSPCMD",
  [176] = "AMT_GPS_TEST_CMD", [177] = "AMT_GPS_TEST_RSPCMD", [178] = "AMT_GPS_READ_RESULT_CMD",
  [179] = "AMT_GPS_READ_RESULT_RSPCMD", [180] = "AMT_CAMERA_CONTROL_CMD", [181] = "AMT_CAMERA_CONTROL_RSPCMD",
  [185] = "AMT_WIFI_TEST_CMD", [186] = "AMT_WIFI_TEST_RSPCMD", [187] = "AMT_WIFI_RTX_TEST_CMD",
  [188] = "AMT_WIFI_RTX_TEST_RSPCMD", [193] = "AMT_BOARD_PCBA_CTRL_CMD", [194] = "AMT_BOARD_PCBA_CTRL_RSPCMD",
  [195] = "AMT_NORMAL_TO_AMT_CMD", [196] = "AMT_NORMAL_TO_AMT_RSPCMD", [197] = "AMT_NORMAL_TO_AMT_SUPPORT_CMD",
  [198] = "AMT_NORMAL_TO_AMT_SUPPORT_RSPCMD", [201] = "CELL_SWITCH_MODE_CMD", [202] = "CELL_SWITCH_MODE_RSPCMD",
  [204] = "CELL_RECIEVE_RSPDATA", [205] = "CELL_READ_VERSION_CMD", [206] = "CELL_READ_VERSION_RSPCMD",
  [207] = "CELL_READ_IDEN_CMD", [208] = "CELL_READ_IDEN_RSPCMD", [209] = "CELL_SET_EXCEPTIONAL_RESET_CMD",
  [210] = "CELL_SET_EXCEPTIONAL_RESET_RSPCMD", [211] = "CELL_QUERY_EXCEPTIONAL_RESET_CMD",
  [212] = "CELL_QUERY_EXCEPTIONAL_RESET_RSPCMD", [213] = "CELL_CAMP_ON_CELL_CONTROL_CMD",
  [214] = "CELL_CAMP_ON_CELL_CONTROL_RSPCMD", [219] = "AMT_DAMT1_CMD", [220] = "AMT_DAMT1_RSPCMD",
  [221] = "AMT_DSP_TRANSPARENT_CONTROL_INDCMD", [238] = "AMT_READ_DEV_INFO_CMD", [239] = "AMT_READ_DEV_INFO_RSPCMD",
  [240] = "AMT_ENTER_IDLE_CMD", [241] = "AMT_ENTER_IDLE_RSPCMD",
}

local ATOMS = {
  [1] = "result", [4] = "data", [5] = "voltage", [12] = "rx-value", [13] = "iq-power", [15] = "switch",
  [18] = "version", [19] = "module", [21] = "imei", [22] = "temperature", [24] = "rf-adc", [26] = "brightness",
  [27] = "date", [30] = "loop-type", [34] = "iq-serial", [36] = "station-result", [37] = "description",
  [38] = "board", [39] = "station", [41] = "sim", [43] = "gsm-control", [44] = "table-flag", [55] = "capacity",
  [62] = "dsp-control", [110] = "bt-operation", [111] = "bt-address", [112] = "camera-control",
  [113] = "camera-result", [140] = "gps-operation", [141] = "satellite", [144] = "carrier-to-noise",
  [146] = "calibration-1", [147] = "calibration-2", [148] = "calibration-3", [149] = "calibration-4", [151] = "adc",
  [152] = "wifi-operation", [153] = "wifi-address", [154] = "rtx-operation", [155] = "rtx-channel",
  [156] = "rtx-rate", [157] = "rtx-power", [158] = "rtx-count", [159] = "modem-channel", [160] = "adb-operation",
  [161] = "adb-serial", [162] = "adb-length", [163] = "serial-number", [190] = "pcba-operation",
  [191] = "pcba-serial", [192] = "amt1-flag", [200] = "dev-info", [201] = "mode", [202] = "radio-technology",
  [204] = "boot-flag",
}

local DIRECTIONS = { [0] = "sent", [1] = "received" }
local LINKS = { [0] = "pc", [1] = "app", [2] = "modem", [3] = "at" }
local TYPES = { [1] = "integer", [2] = "string", [3] = "bytes", [4] = "flag" }
local VERDICTS = { [0] = "bad", [1] = "good" }

local f = vxamt.fields
f.header = ProtoField.uint8("amt.header.version", "Version of the header")
f.direction = ProtoField.uint8("amt.direction", "Direction", base.DEC, DIRECTIONS)
f.link = ProtoField.uint8("amt.link", "Link", base.DEC, LINKS)
f.phone = ProtoField.uint8("amt.phone", "Phone (0: without a name)")
f.kind = ProtoField.string("amt.kind", "Kind")
f.magic = ProtoField.bytes("amt.wrap.magic", "Magic")
f.wrap_length = ProtoField.uint32("amt.wrap.length", "Wrapped length")
f.wrap_kind = ProtoField.uint8("amt.wrap.kind", "Kind of the wrapped form")
f.wrap_subkind = ProtoField.uint8("amt.wrap.subkind", "Sub-kind of the wrapped form")
f.frame_length = ProtoField.uint16("amt.frame.length", "Total length")
f.id = ProtoField.uint8("amt.id", "Id")
f.name = ProtoField.string("amt.name", "Name")
f.data_length = ProtoField.uint16("amt.data.length", "Data length")
f.atom = ProtoField.none("amt.atom", "Atom")
f.atom_id = ProtoField.uint8("amt.atom.id", "Id of the atom")
f.atom_name = ProtoField.string("amt.atom.name", "Name of the atom")
f.atom_type = ProtoField.uint8("amt.atom.type", "Type of the value", base.DEC, TYPES)
f.atom_length = ProtoField.uint16("amt.atom.length", "Length of the value")
f.atom_int = ProtoField.int32("amt.atom.int", "Integer")
f.atom_flag = ProtoField.uint8("amt.atom.flag", "Flag")
f.atom_string = ProtoField.string("amt.atom.string", "String")
f.atom_bytes = ProtoField.bytes("amt.atom.bytes", "Bytes")
f.result = ProtoField.int32("amt.result", "Result")
f.rest = ProtoField.bytes("amt.rest", "Bytes that are no atom")
f.checksum = ProtoField.uint32("amt.checksum", "Checksum", base.HEX)
f.checksum_status = ProtoField.uint8("amt.checksum.status", "Verdict on the checksum", base.DEC, VERDICTS)
f.text = ProtoField.string("amt.text", "Text")
f.noise = ProtoField.bytes("amt.noise", "Noise")
f.request = ProtoField.framenum("amt.request", "Answers the request in", base.NONE, frametype.REQUEST)
f.response = ProtoField.framenum("amt.response", "Answered in", base.NONE, frametype.RESPONSE)
f.time = ProtoField.relative_time("amt.time", "Time since the request")

local e_damaged = ProtoExpert.new("amt.damaged", "Damaged frame", expert.group.MALFORMED, expert.severity.ERROR)
local e_checksum = ProtoExpert.new("amt.checksum.bad", "Bad checksum", expert.group.CHECKSUM, expert.severity.ERROR)
local e_refused = ProtoExpert.new("amt.refused", "The request failed", expert.group.RESPONSE_CODE, expert.severity.WARN)
local e_noise = ProtoExpert.new("amt.noise.expert", "Noise", expert.group.MALFORMED, expert.severity.WARN)
vxamt.experts = { e_damaged, e_checksum, e_refused, e_noise }

local HEADER_SIZE = 4
local WRAP_HEAD = 12
local FRAME_HEAD = 6
local ATOM_HEAD = 5
local LARGEST_FRAME = 4096
local COMMAND_MARK = 0xBB
local ATOM_MARK = 0xEE

-- The checksum of docs/protocol.md: not the standard CRC-32.
local bits = bit32 or bit
local CRC = {}
for n = 0, 255 do
  local value = n
  for _ = 1, 8 do
    local low = value % 2
    value = bits.rshift(value, 1)
    if low == 1 then value = bits.bxor(value, 0xEDB88320) end
  end
  CRC[n] = value % 0x100000000
end

local function checksum(range)
  local value = 0
  local function add(byte)
    local high = math.floor(value / 0x1000000)
    value = bits.bxor(CRC[high], (value % 0x1000000) * 256 + byte) % 0x100000000
  end
  local bytes = range:bytes()
  for n = 0, bytes:len() - 1 do add(bytes:get_index(n)) end
  for _ = 1, 4 do add(0) end
  return value
end

-- Requests that wait for their answer, by phone and link; and what answered what, by the number of the packet.
local open = {}
local request_of = {}
local response_of = {}
local time_of = {}

function vxamt.init()
  open, request_of, response_of, time_of = {}, {}, {}, {}
end

local TEXT = -1 -- what stands for AT text where the id of a frame would
local GPS_TEST, GPS_CONTROL_ANSWER = 176, 175

local function is_answer(request, id)
  if request == TEXT or id == TEXT then return request == id end
  return id == (request + 1) % 256 or (request == GPS_TEST and id == GPS_CONTROL_ANSWER)
end

-- Once for each packet, in their order.
local function follow(pinfo, place, direction, id)
  if pinfo.visited then return end
  local waiting = open[place] or {}
  open[place] = waiting
  time_of[pinfo.number] = pinfo.abs_ts
  if direction == 0 then
    waiting[#waiting + 1] = { id = id, number = pinfo.number }
    if #waiting > 1000 then table.remove(waiting, 1) end
    return
  end
  for n, request in ipairs(waiting) do
    if is_answer(request.id, id) then
      request_of[pinfo.number] = request.number
      response_of[request.number] = pinfo.number
      table.remove(waiting, n)
      return
    end
  end
end

local function show_links(pinfo, tree)
  local response = response_of[pinfo.number]
  if response then tree:add(f.response, response):set_generated() end
  local request = request_of[pinfo.number]
  if not request then return end
  tree:add(f.request, request):set_generated()
  local seconds = pinfo.abs_ts - (time_of[request] or pinfo.abs_ts)
  -- A packet has whole microseconds, a number of Lua nearly.
  if seconds >= 0 then
    local whole = math.floor(seconds)
    tree:add(f.time, NSTime.new(whole, math.floor((seconds - whole) * 1e6 + 0.5) * 1000)):set_generated()
  end
end

-- One atom at the front of the range; its size, 0 when there is none. *texts* collects what the list of packets shows.
local function show_atom(range, tree, texts)
  if range:len() < ATOM_HEAD or range(0, 1):uint() ~= ATOM_MARK then return 0 end
  local id = range(1, 1):uint()
  local kind = range(2, 1):uint()
  local length = range(3, 2):le_uint()
  local there = math.min(length, range:len() - ATOM_HEAD)
  local name = ATOMS[id] or ""
  local size = ATOM_HEAD + there
  local sub = tree:add(f.atom, range(0, size))
  sub:add(f.atom_id, range(1, 1))
  if name ~= "" then sub:add(f.atom_name, range(1, 1), name):set_generated() end
  sub:add(f.atom_type, range(2, 1))
  sub:add_le(f.atom_length, range(3, 2))
  local shown = ""
  if there > 0 then
    local value = range(ATOM_HEAD, there)
    if kind == 1 and there == 4 then
      shown = tostring(value:le_int())
      sub:add_le(f.atom_int, value)
      if id == 1 then
        tree:add_le(f.result, value):set_generated()
        if value:le_int() ~= 0 then sub:add_proto_expert_info(e_refused) end
      end
    elseif kind == 4 and there == 1 then
      shown = tostring(value:uint())
      sub:add(f.atom_flag, value)
    elseif kind == 2 then
      shown = value:string()
      sub:add(f.atom_string, value)
    else
      shown = tostring(value:bytes())
      sub:add(f.atom_bytes, value)
    end
  end
  local label = id .. (name ~= "" and " (" .. name .. ")" or "")
  sub:set_text("Atom " .. label .. ": " .. shown)
  texts[#texts + 1] = id .. (name ~= "" and "(" .. name .. ")" or "") .. "=" .. shown
  if there < length then sub:add_proto_expert_info(e_damaged) end
  return size
end

-- A bare frame, or what is there of it; its id.
local function show_frame(range, tree, texts)
  if range:len() < FRAME_HEAD then
    tree:add_proto_expert_info(e_damaged)
    return nil
  end
  local id = range(3, 1):uint()
  local name = COMMANDS[id] or "(undefined)"
  tree:add_le(f.frame_length, range(0, 2))
  tree:add(f.id, range(3, 1)):append_text(" (" .. name .. ")")
  tree:add(f.name, range(3, 1), name):set_generated()
  tree:add_le(f.data_length, range(4, 2))
  local is_whole = range(2, 1):uint() == COMMAND_MARK and range(0, 2):le_uint() == range:len()
    and range(4, 2):le_uint() == range:len() - FRAME_HEAD
  if not is_whole then tree:add_proto_expert_info(e_damaged) end
  texts[#texts + 1] = "frame " .. id .. " " .. name
  local at = FRAME_HEAD
  while at < range:len() do
    local size = show_atom(range(at), tree, texts)
    if size == 0 then break end
    at = at + size
  end
  if at < range:len() then tree:add(f.rest, range(at)) end
  return id, is_whole
end

-- The wrapped form; the frame's id where it is whole.
local function show_wrapped(range, tree, texts)
  tree:add(f.magic, range(0, 4))
  if range:len() < 8 then
    tree:add_proto_expert_info(e_damaged)
    return nil, "damaged frame"
  end
  tree:add_le(f.wrap_length, range(4, 4))
  if range:len() < WRAP_HEAD then
    tree:add_proto_expert_info(e_damaged)
    return nil, "damaged frame"
  end
  tree:add(f.wrap_kind, range(8, 1))
  tree:add(f.wrap_subkind, range(9, 1))
  local total = range(4, 4):le_uint() + 8
  local is_whole = total == range:len() and total >= WRAP_HEAD + 4 and total <= LARGEST_FRAME
  local covered = is_whole and total - 4 or range:len()
  local is_good = false
  if is_whole then
    is_good = checksum(range(0, covered)) == range(covered, 4):le_uint()
    tree:add_le(f.checksum, range(covered, 4)):append_text(is_good and " (good)" or " (bad)")
    tree:add(f.checksum_status, range(covered, 4), is_good and 1 or 0):set_generated()
    if not is_good then tree:add_proto_expert_info(e_checksum) end
  else
    tree:add_proto_expert_info(e_damaged)
  end
  if is_good and covered == WRAP_HEAD then
    texts[#texts + 1] = "pre-response"
    return nil, "pre-response"
  end
  if covered == WRAP_HEAD then return nil, "damaged frame" end
  local id, has_head = show_frame(range(WRAP_HEAD, covered - WRAP_HEAD), tree, texts)
  if is_good and has_head then return id, "frame" end
  return nil, "damaged frame"
end

-- Text as the station takes it: UTF-8 without control characters.
local function is_text(range)
  local bytes = range:bytes()
  local more = 0
  for n = 0, bytes:len() - 1 do
    local byte = bytes:get_index(n)
    if more > 0 then
      if byte < 0x80 or byte > 0xBF then return false end
      more = more - 1
    elseif byte < 0x20 then
      if byte ~= 9 and byte ~= 10 and byte ~= 13 then return false end
    elseif byte >= 0x7F then
      more = (byte >= 0xC2 and byte < 0xE0) and 1 or (byte >= 0xE0 and byte < 0xF0) and 2
        or (byte >= 0xF0 and byte < 0xF5) and 3 or -1
      if more < 0 then return false end
    end
  end
  return more == 0
end

local function is_final(line)
  return line == "OK" or line == "ERROR" or line:find("^%+CM[ES] ERROR:") ~= nil
end

local function show_text(range, tree, texts, direction)
  local line = range:string():gsub("^[\r\n]+", ""):gsub("[\r\n]+$", "")
  tree:add(f.text, range, line)
  texts[#texts + 1] = line
  if direction == 1 and is_final(line) and line ~= "OK" then tree:add_proto_expert_info(e_refused) end
  if direction == 0 or is_final(line) then return TEXT, "text" end
  return nil, "text"
end

local function show_item(range, tree, texts, link, direction)
  local is_wrapped = range:len() >= 4 and range(0, 4):uint() == 0xAABBCCDD
  if link == 1 and range:len() >= 3 and range(2, 1):uint() == COMMAND_MARK then
    local id, is_whole = show_frame(range, tree, texts)
    if is_whole then return id, "frame" end
    return nil, "damaged frame"
  end
  if link ~= 1 and is_wrapped then return show_wrapped(range, tree, texts) end
  if link ~= 1 and is_text(range) then return show_text(range, tree, texts, direction) end
  tree:add(f.noise, range)
  tree:add_proto_expert_info(e_noise)
  texts[#texts + 1] = "noise, " .. range:len() .. " bytes"
  return nil, "noise"
end

function vxamt.dissector(buffer, pinfo, root)
  if buffer:len() < HEADER_SIZE then return 0 end
  local tree = root:add(vxamt, buffer())
  tree:add(f.header, buffer(0, 1))
  if buffer(0, 1):uint() ~= 1 then return buffer:len() end
  local direction = buffer(1, 1):uint()
  local link = buffer(2, 1):uint()
  tree:add(f.direction, buffer(1, 1))
  tree:add(f.link, buffer(2, 1))
  tree:add(f.phone, buffer(3, 1))
  pinfo.cols.protocol = "VXAMT"
  pinfo.cols.src = direction == 0 and "station" or "phone"
  pinfo.cols.dst = direction == 0 and "phone" or "station"
  if buffer:len() == HEADER_SIZE then return HEADER_SIZE end
  local texts = {}
  local id, kind = show_item(buffer(HEADER_SIZE):tvb()(), tree, texts, link, direction)
  tree:add(f.kind, kind):set_generated()
  -- A frame that refuses AT text has the id 0.
  if id == 0 and direction == 1 then id = TEXT end
  if id then follow(pinfo, buffer(2, 2):uint(), direction, id) end
  show_links(pinfo, tree)
  local info = (LINKS[link] or "?") .. (direction == 0 and " -> " or " <- ")
  if kind == "damaged frame" then info = info .. "damaged: " end
  pinfo.cols.info = info .. table.concat(texts, " ")
  return buffer:len()
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, vxamt)
