#include "station/plan/load.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

#include "station/plan/build.h"
#include "station/plan/check.h"
#include "station/plan/source.h"

namespace {

constexpr std::uintmax_t LONGEST_FILE = 4U << 20U;  // bytes; the longest plan has far less

std::optional<std::string> read_file(const std::string& path, plan_findings* findings) {
  const auto fail = [&](const std::string& why) {
    findings->push_back({{path, 0, 0}, "", why});
    return std::nullopt;
  };
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return fail("there is no such file");
  if (!std::filesystem::is_regular_file(path, error)) return fail("is no file");
  if (std::filesystem::file_size(path, error) > LONGEST_FILE) return fail("is too long for a plan");
  std::ifstream file(path, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad()) return fail(fmt::format("cannot be read: {}", strerror(errno)));
  return text;
}

std::string sha256(const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_sha256(), nullptr);
  return fmt::format("{:02x}", fmt::join(digest.begin(), digest.begin() + size, ""));
}

}  // namespace

bool plan_loaded_st::has_errors() const {
  return std::ranges::any_of(m_findings, [](const auto& finding) { return !finding.m_is_warning; });
}

plan_loaded_st plan_load_text(const std::string& text, const std::string& path, const std::string* variant_text,
                              const std::string& variant_path) {
  plan_loaded_st loaded;
  plan_findings* findings = &loaded.m_findings;
  plan_source_st source = plan_read_source(text, path, findings);
  plan_source_st variant;
  if (variant_text != nullptr) variant = plan_read_variant_source(*variant_text, variant_path, findings);
  // After a text that is no TOML nothing else is known, and every name would seem to be missing.
  const bool is_toml = std::ranges::none_of(*findings, [](const auto& finding) { return finding.m_key.empty(); });
  if (is_toml) {
    loaded.m_plan = plan_build(std::move(source), variant_text == nullptr ? nullptr : &variant, findings);
    plan_check(&loaded.m_plan, findings);
  }
  loaded.m_plan.m_file = {path, sha256(text)};
  if (variant_text != nullptr) loaded.m_plan.m_variant = plan_file_st{variant_path, sha256(*variant_text)};
  std::ranges::stable_sort(*findings, {}, [](const plan_finding_st& finding) {
    return std::tuple(finding.m_place.m_file, finding.m_place.m_line, finding.m_place.m_column);
  });
  return loaded;
}

plan_loaded_st plan_load(const std::string& path, const std::string& variant_path) {
  plan_loaded_st unread;
  const auto text = read_file(path, &unread.m_findings);
  std::optional<std::string> variant;
  if (!variant_path.empty()) variant = read_file(variant_path, &unread.m_findings);
  if (unread.has_errors()) return unread;
  return plan_load_text(*text, path, variant ? &*variant : nullptr, variant_path);
}
