#include "tests/unit/hwt-fake.h"

#include <initializer_list>

#include "platform/hwt.h"

hwt_fake_st g_hwt_fake;

namespace {

std::string pointer(const int* where) {
  return where == nullptr ? "none" : "set";
}

int note(const std::string& name, std::initializer_list<std::string> arguments) {
  std::string call = name + "(";
  for (const auto& argument : arguments) call += (call.back() == '(' ? "" : ", ") + argument;
  call += ")";
  g_hwt_fake.m_calls.push_back(call);
  const auto found = g_hwt_fake.m_results.find(call);
  return found == g_hwt_fake.m_results.end() ? 0 : found->second;
}

}  // namespace

int hwt_btCtrl(int on) {
  return note("hwt_btCtrl", {std::to_string(on)});
}

int hwt_btCheck(void) {
  return note("hwt_btCheck", {});
}

int hwt_wifiCtrl(int on) {
  return note("hwt_wifiCtrl", {std::to_string(on)});
}

int hwt_wifiCheck(void) {
  return note("hwt_wifiCheck", {});
}

int hwt_TxTest(int start, int power, int rate, int channel) {
  return note("hwt_TxTest",
              {std::to_string(start), std::to_string(power), std::to_string(rate), std::to_string(channel)});
}

int hwt_RxTest(int start, int channel, int rate, int* count) {
  if (count != nullptr) *count = g_hwt_fake.m_count.value_or(*count);
  return note("hwt_RxTest", {std::to_string(start), std::to_string(channel), std::to_string(rate), pointer(count)});
}

int hwt_gpsCtrl(int op, int index, int* svid, int* cnr) {
  if (svid != nullptr) *svid = g_hwt_fake.m_svid.value_or(*svid);
  if (cnr != nullptr) *cnr = g_hwt_fake.m_cnr.value_or(*cnr);
  return note("hwt_gpsCtrl", {std::to_string(op), std::to_string(index), pointer(svid), pointer(cnr)});
}

int hwt_gpsCheck(void) {
  return note("hwt_gpsCheck", {});
}
