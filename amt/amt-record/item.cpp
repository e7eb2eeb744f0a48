#include "amt/amt-record/item.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>

#include "amt/amt-record/record.h"
#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/text.h"

namespace {

// The module as field tools know it, whatever the folder is called.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-item"};

constexpr char FOLDER[] = "/amt";

enum item_code_en : std::int32_t {
  ITEM_UNREADABLE = -1,  // folder or file not accessible
  ITEM_UNWRITABLE = -2,  // nothing written, or the file cannot be made
  ITEM_REFUSED = -3,     // no such item, or it was not written
};

void log_failure(const char* function, const char* what, const char* path, std::int32_t code = ERR_WRITE) {
  if (path != nullptr) {
    pub_log_failure({k_log, function}, code, "%s(%s) failure. errorr: %d - %s", what, path, errno,
                    std::strerror(errno));
  } else {
    pub_log_failure({k_log, function}, code, "%s. errorr: %d - %s", what, errno, std::strerror(errno));
  }
}

// A place before the file is refused here: where positions have 32 bits, a doubled index may come out as another one.
int seek_item(std::FILE* file, std::int32_t index) {
  if (index >= 0) return fseeko(file, off_t{2} * index, SEEK_SET);
  errno = EINVAL;
  return -1;
}

const char* digit_of(std::int32_t result) {
  if (result == 1) return "1";
  pub_print("[TEST_RESULT] update item for %s\n", result == 2 ? "TEST_FAIL" : "TEST_UNKNOWN");
  return result == 2 ? "2" : "0";
}

struct item_file_st {
  const char* m_path;
  std::int32_t m_items;
};

constexpr item_file_st PRODUCT{AMT_PRODUCT_FILE, AMT_PRODUCT_ITEMS};
constexpr item_file_st RESULT{AMT_RESULT_FILE, AMT_RESULT_ITEMS};

std::int32_t refuse_save(const char* function, const char* why, std::int32_t code) {
  pub_log_failure({k_log, function}, code, "Save fail: %s\n", why);
  return code;
}

std::int32_t refuse_index(const char* function, std::int32_t index) {
  pub_log_failure({k_log, function}, ITEM_REFUSED, "item index error: %d\n", index);
  return ITEM_REFUSED;
}

bool is_missing(const char* path) {
  return access(path, F_OK) != 0 && errno == ENOENT;
}

bool is_regular(std::FILE* file) {
  struct stat status = {};
  return fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode);
}

template <typename Fill>
result_code_en replace_file(const char* function, const char* path, Fill fill) {
  const char* failed_step = amt_replace_record(path, fill);
  if (failed_step == nullptr) return ERR_NONE;
  log_failure(function, failed_step, path);
  return ERR_WRITE;
}

// Mends items of which the first `count` bytes were read: a digit's place that holds no digit gets a '0', a line end's
// place its line end. Gives whether it changed anything.
bool mend_items(std::span<char> items, std::size_t count) {
  bool is_mended = count < items.size();
  for (std::size_t at = 0; at < items.size(); ++at) {
    const bool is_digit = at % 2 == 0;
    const bool is_good = at < count && (is_digit ? items[at] >= '0' && items[at] <= '9' : items[at] == '\n');
    if (is_good) continue;
    items[at] = is_digit ? '0' : '\n';
    is_mended = true;
  }
  return is_mended;
}

bool copy_rest(std::FILE* from, std::FILE* to) {
  char piece[512];
  std::size_t count = 0;
  while ((count = std::fread(piece, 1, sizeof piece, from)) > 0) {
    if (std::fwrite(piece, 1, count, to) != count) return false;
  }
  return std::ferror(from) == 0;
}

// Completes a file that is not whole: a power cut, a full disk or another program left it so. Its digits stay where
// they are, and what follows the items stays, too. A file that cannot be opened or read is left to the update, which
// reports why. False when the file stays as it was, not whole.
bool complete_file(const char* function, const item_file_st& file) {
  const pub_file old = pub_util_fopen(file.m_path, "r+");
  if (!old || !is_regular(old.get())) return true;
  char all_items[2 * AMT_PRODUCT_ITEMS] = {};
  const std::span items(all_items, std::size_t{2} * static_cast<std::size_t>(file.m_items));
  const std::size_t count = std::fread(items.data(), 1, items.size(), old.get());
  if (std::ferror(old.get()) != 0) {
    log_failure(function, "read file", file.m_path);
    return true;
  }
  if (!mend_items(items, count)) return true;
  LOG_LINE("item file %s is not whole, will be completed\n", file.m_path);
  return replace_file(function, file.m_path, [&](std::FILE* aside) {
           return std::fwrite(items.data(), 1, items.size(), aside) == items.size() && copy_rest(old.get(), aside);
         }) == ERR_NONE;
}

// Makes the file when it is missing, completes it when it is not whole.
bool provide_file(const char* function, const item_file_st& file) {
  if (is_missing(file.m_path)) return initTestFile(file.m_path, file.m_items) == ERR_NONE;
  return complete_file(function, file);
}

std::int32_t save_item(const char* function, const item_file_st& file, std::int32_t index, std::int32_t result) {
  if (index >= file.m_items) return refuse_index(function, index);
  if (access(FOLDER, R_OK | W_OK) != 0) return refuse_save(function, "Directory access deny", ITEM_UNREADABLE);
  if (!provide_file(function, file)) return refuse_save(function, "init result file error", ITEM_UNWRITABLE);
  if (updateTestItem(file.m_path, index, result) != ERR_NONE) {
    return refuse_save(function, "update result error", ITEM_REFUSED);
  }
  return ERR_NONE;
}

// Makes the product file when it is missing. 0 when it is there, or when only the opening can find out whether it is.
std::int32_t provide_product_file() {
  if (access(FOLDER, R_OK) != 0) {
    log_failure("readProductTestItem", "access folder", FOLDER);
    return ITEM_UNREADABLE;
  }
  if (!is_missing(AMT_PRODUCT_FILE)) return ERR_NONE;
  log_failure("readProductTestItem", "access file", AMT_PRODUCT_FILE);
  if (initTestFile(AMT_PRODUCT_FILE, AMT_PRODUCT_ITEMS) == ERR_NONE) return ERR_NONE;
  pub_log_failure({k_log, "readProductTestItem"}, ITEM_UNWRITABLE, "initTestFile fail: init result file error\n");
  return ITEM_UNWRITABLE;
}

std::int32_t read_item(std::FILE* file, std::int32_t index) {
  if (seek_item(file, index) != 0) {
    log_failure("readProductTestItem", "call fseek failure", nullptr);
    return ITEM_UNREADABLE;
  }
  char digit[2] = {};
  if (std::fgets(digit, sizeof digit, file) != nullptr) {
    LOG_LINE("itemIndex = %d, buf= %s\n", index, digit);
  } else if (std::ferror(file) != 0) {
    log_failure("readProductTestItem", "call fgets error", nullptr);
    return ITEM_UNREADABLE;
  }
  return pub_text_number(digit);
}

}  // namespace

result_code_en initTestFile(const char* path, std::int32_t count) {
  pub_log_entry(k_log);
  if (count > AMT_PRODUCT_ITEMS) return pub_fail(k_log, ERR_WRITE, "test item error: %d\n", count);
  LOG_LINE("initTestFile . path:%s; count: %d\n", path, count);
  char items[2 * AMT_PRODUCT_ITEMS + 1] = {};
  for (std::int32_t item = 0; item < count; ++item) std::copy_n("0\n", 2, items + std::ptrdiff_t{2} * item);
  return replace_file(__func__, path, [&items](std::FILE* aside) { return std::fputs(items, aside) >= 0; });
}

std::int32_t updateTestItem(const char* path, std::int32_t index, std::int32_t result) {
  pub_log_entry(k_log);
  pub_file file = pub_util_fopen(path, "r+");
  if (!file) {
    log_failure(__func__, "open file", path);
    return ITEM_UNREADABLE;
  }
  if (seek_item(file.get(), index) != 0 && index >= 0) {
    log_failure(__func__, "call fseek failure", nullptr, ITEM_UNWRITABLE);
    return ITEM_UNWRITABLE;
  }
  const char* digit = digit_of(result);
  const auto report = [=](bool is_done) {
    if (is_done) {
      LOG_LINE("write item [%d], result= %s\n", index, digit);
    } else {
      log_failure("updateTestItem", "write file", path, ITEM_UNWRITABLE);
    }
  };
  const bool is_written = amt_finish_record(std::move(file), digit, report, amt_failed_write::keeps);
  return is_written ? std::int32_t{ERR_NONE} : ITEM_UNWRITABLE;
}

std::int32_t saveProductTestItem(std::int32_t index, std::int32_t result) {
  pub_log_entry(k_log);
  return save_item(__func__, PRODUCT, index, result);
}

std::int32_t saveAmtTestItem(std::int32_t index, std::int32_t result) {
  pub_log_entry(k_log);
  return save_item(__func__, RESULT, index, result);
}

std::int32_t readProductTestItem(std::int32_t index) {
  pub_log_entry(k_log);
  if (index >= AMT_PRODUCT_ITEMS) return refuse_index(__func__, index);
  const std::int32_t provided = provide_product_file();
  if (provided != ERR_NONE) return provided;
  const pub_file file = pub_util_fopen(AMT_PRODUCT_FILE, "r");
  if (!file) {
    log_failure(__func__, "open file", AMT_PRODUCT_FILE);
    return ITEM_UNREADABLE;
  }
  return read_item(file.get(), index);
}

void amt_note_station_result(const pub_log_site& site, std::int32_t station, std::int32_t result) {
  if (saveAmtTestItem(station, result) != ERR_NONE) {
    LOG_LINE("[%s:L%d] write fail amt station_num: %d, station_result: %d\n", site.m_function, site.m_line, station,
             result);
  } else {
    LOG_LINE("write amt_result success amt station_num: %d, station_result: %d.\n", station, result);
  }
}
