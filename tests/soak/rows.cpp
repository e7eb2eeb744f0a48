#include "tests/soak/rows.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace soak {

namespace {

constexpr bool UNSTEADY = false;

// Requests of both links. Not here: 170, which doubles the service.
constexpr frame_row COMMON_ROWS[] = {
    {172, "110:i=2 111:s=11:22:33:44:55:##", pace::RECORD, UNSTEADY},
    {172, "110:i=1", pace::FAST, UNSTEADY},
    {172, "110:i=3"},
    {172, "110:i=10"},
    {172, "110:i=11"},
    {174, "140:i=0"},
    {174, "140:i=2"},
    {174, "140:i=1"},
    {176, ""},
    {178, "141:i=#"},
    {185, "152:i=1 153:s=aa:bb:cc:dd:ee:##", pace::RECORD, UNSTEADY},
    {185, "152:i=0", pace::FAST, UNSTEADY},
    {185, "152:i=2"},
    {187, "154:b=01", pace::SHELL},
    {187, "154:b=03 155:b=0# 156:b=2602 157:b=1###", pace::SHELL, UNSTEADY},
    {187, "154:b=04", pace::SHELL, UNSTEADY},
    {187, "154:b=05 155:b=0# 156:b=0600", pace::SHELL, UNSTEADY},
    {187, "154:b=06", pace::SHELL, UNSTEADY},
    {187, "154:b=02", pace::SHELL},
    {240, ""},
};

// Not here: 236, which ends the service.
constexpr frame_row PC_OWN_ROWS[] = {
    {45, "19:i=1"},
    {45, "19:i=16"},
    {45, "19:i=17"},
    {45, "19:i=18"},
    {45, "19:i=19"},
    {45, "19:i=20"},
    {45, "19:i=32"},
    {45, "19:i=64"},
    {91, "39:i=1# 36:i=1", pace::RECORD},
    {91, "39:i=# 36:i=2 37:s=text", pace::RECORD},
    {191, "160:i=1 162:i=8 161:s=SN######", pace::RECORD, UNSTEADY},
    {191, "160:i=0", pace::FAST, UNSTEADY},
    {193, "190:b=02 191:s=PCBA-######", pace::RECORD, UNSTEADY},
    {193, "190:b=01", pace::FAST, UNSTEADY},
    {219, "", pace::RECORD, UNSTEADY},
    {224, "", pace::SHELL},
    {226, "146:i=## 147:i=-## 148:i=### 149:i=0", pace::RECORD, UNSTEADY},
    {244, ""},
};

// Not here: 195, which ends the service.
constexpr frame_row APP_OWN_ROWS[] = {
    {1, "8:i=#"},
    {3, "8:i=# 9:b=0102"},
    {5, "21:s=86012345678901#"},
    {7, "", pace::FAST, UNSTEADY},
    {9, ""},
    {11, "10:i=9## 11:i=2#"},
    {13, ""},
    {15, "11:i=2#"},
    {17, "10:i=9##"},
    {19, "10:i=9##"},
    {23, "", pace::FAST, UNSTEADY},
    {21, ""},
    {25, ""},
    {27, "10:i=9##"},
    {29, ""},
    {31, "15:f=1 30:i=#"},
    {31, "15:f=0 30:i=0"},
    {33, "15:f=1", pace::SHELL},
    {33, "15:f=0", pace::SHELL},
    {35, "15:f=1"},
    {35, "15:f=0"},
    {37, "15:f=1"},
    {37, "15:f=0"},
    {39, "1:i=#"},
    {41, "1:i=#"},
    {42, "1:i=#"},
    {43, ""},
    {45, "19:i=1"},
    {45, "19:i=16"},
    {45, "19:i=17"},
    {45, "19:i=18"},
    {45, "19:i=64"},
    {49, "3:i=# 4:b=01020304####"},
    {47, "3:i=#"},
    {51, ""},
    {53, "5:i=#"},
    {55, ""},
    {57, "26:i=1##"},
    {57, "26:i=256"},
    {59, ""},
    {63, "3:i=# 4:b=0506"},
    {61, "3:i=#"},
    {65, ""},
    {67, "27:s=201301##"},
    {69, ""},
    {71, ""},
    {73, "1:i=#"},
    {75, ""},
    {77, ""},
    {79, ""},
    {81, "1:i=#"},
    {83, ""},
    {87, "38:s=board-##"},
    {85, "", pace::FAST, UNSTEADY},
    {91, "39:i=1# 36:i=1 37:s=well", pace::RECORD, UNSTEADY},
    {89, "39:i=1#", pace::RECORD, UNSTEADY},
    {93, "1:s=version"},
    {95, "1:i=#"},
    {97, ""},
    {99, ""},
    {101, ""},
    {103, "1:i=#"},
    {105, "43:b=##########"},
    {107, ""},
    {109, "3:i=#"},
    {111, ""},
    {115, "3:i=# 4:b=0708"},
    {113, "3:i=#"},
    {117, "1:s=112"},
    {119, ""},
    {121, "1:i=#"},
    {123, "1:i=#"},
    {125, ""},
    {127, "1:i=#"},
    {129, ""},
    {131, "1:i=#"},
    {133, "1:b=##"},
    {135, ""},
    {137, ""},
    {139, ""},
    {147, ""},
    {149, ""},
    {151, "62:b=######"},
    {153, ""},
    {155, ""},
    {180, "112:i=1"},
    {180, "112:i=2"},
    {197, ""},
    {201, "1:i=#"},
    {204, "1:i=#"},
    {205, ""},
    {207, ""},
    {209, "1:i=#"},
    {211, ""},
    {213, "1:i=#"},
    {219, "192:i=0", pace::RECORD, UNSTEADY},
    {219, "192:i=1", pace::RECORD, UNSTEADY},
    {219, "192:i=2"},
    {221, "62:b=####"},
    {230, "39:i=# 36:i=2", pace::RECORD, UNSTEADY},
    {230, "39:i=1# 36:i=1", pace::RECORD, UNSTEADY},
    {228, "39:i=1#", pace::FAST, UNSTEADY},
    {232, "159:i=#"},
    {232, "159:i=1#", pace::SHELL},  // goes out without its line end: the modem waits for more
    {234, "", pace::FAST, UNSTEADY},
    {238, ""},
};

template <std::size_t First, std::size_t Second>
constexpr std::array<frame_row, First + Second> join(const frame_row (&first)[First],
                                                     const frame_row (&second)[Second]) {
  std::array<frame_row, First + Second> all{};
  std::copy_n(first, First, all.begin());
  std::copy_n(second, Second, all.begin() + First);
  return all;
}

constexpr auto PC_ROWS = join(PC_OWN_ROWS, COMMON_ROWS);
constexpr auto APP_ROWS = join(APP_OWN_ROWS, COMMON_ROWS);

constexpr auto SERVICE = answered_by::SERVICE;
constexpr auto MODEM = answered_by::MODEM;

// Not here: AT^DAMTOFF, which ends the service.
constexpr text_row TEXT_ROWS[] = {
    {"AT^DBTADDR=\"11:22:33:44:55:##\"\r", SERVICE, pace::RECORD, UNSTEADY},
    {"AT^DBTADDR?\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DBTADDR=?\r", SERVICE},
    {"AT^DWIFIADDR=\"aa:bb:cc:dd:ee:##\"\r", SERVICE, pace::RECORD, UNSTEADY},
    {"AT^DWIFIADDR?\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DWIFIADDR=?\r", SERVICE},
    {"AT^DSVER\r", SERVICE},
    {"AT^DDEVCONNCHK=0\r", SERVICE},
    {"AT^DDEVCONNCHK=1\r", SERVICE},
    {"AT^DDEVCONNCHK=3\r", SERVICE},
    {"AT^DDEVCONNCHK=#\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DBTCTRL=0\r", SERVICE},
    {"AT^DBTCTRL=1\r", SERVICE},
    {"AT^DBTCTRL=7#\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DGPSCTRL=0\r", SERVICE},
    {"AT^DGPSCTRL=2,#\r", SERVICE},
    {"AT^DGPSCTRL=2", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DGPSCTRL=", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DWLTSD=1,#,1#,-#\r", SERVICE},
    {"AT^DWLTSD=1,#\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DWLTSD=0\r", SERVICE},
    {"AT^DWLTSD=", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DWLTRD=1,#,###\r", SERVICE},
    {"AT^DWLTRD=1\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DWLTRD=0\r", SERVICE},
    {"AT^DPCBACTRL=2,PCBA-####\r", SERVICE, pace::RECORD, UNSTEADY},
    {"AT^DPCBACTRL=2,a number that is much longer than one may be\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DPCBACTRL=1\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DPCBACTRL=9\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DPCBACTRL=", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DAMT1=0\r", SERVICE, pace::RECORD, UNSTEADY},
    {"AT^DAMT1=1\r", SERVICE, pace::RECORD, UNSTEADY},
    {"AT^DAMT1=2\r", SERVICE},
    {"AT^DAMT1=5\r", SERVICE, pace::FAST, UNSTEADY},
    {"AT^DENTERIDLE\r", SERVICE},
    {"AT^DENTERIDLE", SERVICE},
    {"AT^DBOOTDLFIN\r", SERVICE},
    {"AT\r", MODEM},
    {"at\r\n", MODEM},
    {"AT\r\nAT\r\n", MODEM},
    {"AT^DGSN?\r", MODEM},
    {"AT^DMSN\r", MODEM},
    {"AT^DCMR=17\r", MODEM},
    {"AT^DCMR=18\r", MODEM},
    {"AT^DMCC?\r", MODEM},
    {"AT^DTOC\r", MODEM},
    {"AT^DMFD\?\?\r", MODEM},
    {"AT^DATOMW=#,1,text\r", MODEM, pace::FAST, UNSTEADY},
    {"AT^DATOMR=1,1#\r", MODEM},
    {"AT^DTTEST=0D\r", MODEM, pace::FAST, UNSTEADY},
    {"AT^DMPCHN=#\r", MODEM},
    {"AT^DCGSNW=86012345678901#\r", MODEM, pace::RECORD},
    {"AT^DMSN=board-##\r", MODEM, pace::RECORD},
    {"AT+UNKNOWN=####\r", MODEM, pace::FAST, UNSTEADY},
    {"ATD0123456789;\r", MODEM, pace::FAST, UNSTEADY},
};

}  // namespace

std::span<const frame_row> pc_rows() {
  return PC_ROWS;
}

std::span<const frame_row> app_rows() {
  return APP_ROWS;
}

std::span<const text_row> text_rows() {
  return TEXT_ROWS;
}

bool is_registered_for_pc(std::uint8_t id) {
  constexpr std::uint8_t NOT_ASKED[] = {170, 236};
  return std::find(std::begin(NOT_ASKED), std::end(NOT_ASKED), id) != std::end(NOT_ASKED) ||
         std::any_of(std::begin(PC_ROWS), std::end(PC_ROWS), [id](const frame_row& row) { return row.id == id; });
}

}  // namespace soak
