#include "amt/amt-device/card.h"

#include <cinttypes>
#include <cstdio>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/device.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"

namespace {

constexpr char STORAGE_CONFIG[] = "/data/etc/storage.config";
constexpr int CARD_IS_FIRST = 1;  // the first of the two folders is the card, not the phone's own storage
constexpr char FIRST_STORAGE[] = "/storage/sdcard0";
constexpr char SECOND_STORAGE[] = "/storage/sdcard1";

const char* find_card() {
  LOG_LINE("amt_device_tf_card--->will open storage config file: %s", STORAGE_CONFIG);
  std::int32_t choice = 0;
  const pub_file config = pub_util_fopen(STORAGE_CONFIG, "r");
  if (config && pub_util_scan_number(config.get(), &choice) == 1) {
    LOG_LINE("amt_device_tf_card--->getted storage config value: %d", choice);
  }
  LOG_LINE("amt_device_tf_card--->storage config value: %d", choice);
  const char* path = choice == CARD_IS_FIRST ? FIRST_STORAGE : SECOND_STORAGE;
  LOG_LINE("amt_device_tf_card--->external sd card path: %s", path);
  return path;
}

std::uint32_t capacity_kb(const char* path) {
  pub_fs_info_st info{};
  if (pub_util_get_mount_fs_info(path, &info) != ERR_NONE) return 0;
  LOG_LINE("external tf card capability: %" PRIu32 " KB", info.m_total_kb);
  return info.m_total_kb;
}

}  // namespace

result_code_en amt_device_tf_card(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t capacity = capacity_kb(find_card());
  LOG_LINE("tf card capability: %" PRIu32 " KB", capacity);
  amt_handle_start_rsp(response, AMT_READCAPABILITY_CARD_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_CAPACITY, capacity);
  return amt_handle_finish_rsp(link, response);
}
