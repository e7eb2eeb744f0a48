// The script for engineers, compared with what it always was, line by line.
#include "tests/unit/device/device-test.h"

namespace {

// clang-format off: one line of the script a line
constexpr const char* LINES[] = {
    "#!/system/bin/sh",
    "startWifiTxFunc()",
    "{",
    "\techo enter startWifiTxFunc",
    "\tmChannel=$1",
    "\tmRate=$2",
    "\tmPower=$3",
    "\tversion=$($WL_PATH ver) && echo version : $version || exit 1",
    "\t$WL_PATH down && echo wl down OK || exit 1",
    "\t$WL_PATH mpc 0 && echo wl mpc 0 OK ||  exit 1",
    "\t$WL_PATH up && echo wl up  OK ||  exit 1",
    "\t$WL_PATH country ALL && echo wl country ALL OK || exit 1",
    "\t$WL_PATH PM 0 && echo wl PM 0 OK ||  exit 1",
    "\t$WL_PATH down && echo wl down OK ||  exit 1",
    "\t$WL_PATH channel $mChannel && echo wl channel $mChannel OK ||  exit 1",
    "\t$WL_PATH rate $mRate && echo wl rate $mRate OK || exit 1",
    "\t$WL_PATH rateset $mRate'b' && echo wl rateset $mRate OK || exit 1",
    "\t$WL_PATH up && echo wl up OK ||  exit 1",
    "\t$WL_PATH txpwr1 -o -d $mPower && echo wl txpwr1 -o -d $mPower OK || exit 1",
    "\tpower=$($WL_PATH txpwr1) && echo wl txpwr1 OK, the power is:$power || exit 1",
    "\t$WL_PATH pkteng_start 00:11:22:33:44:55: tx 1000 1024 0 && echo wl pkteng_start OK ||  exit 1",
    "\treturn 0",
    "}",
    "stopWifiTxFunc()",
    "{",
    "\techo enter stopWifiTxFunc",
    "\t$WL_PATH pkteng_stop tx && echo tx stop OK|| exit 1",
    "}",
    "startWifiRxFunc()",
    "{",
    "\techo enter startWifiRxFunc",
    "\t$WL_PATH disassoc && echo wl disassoc success",
    "\t$WL_PATH mpc 0 && echo wl mpc 0 success|| exit 1",
    "\t$WL_PATH up && echo wl up success|| exit 1",
    "\t$WL_PATH down && echo wl down success || exit 1",
    "\t$WL_PATH channel $mChannel && echo The Channel is $mChannel || exit 1",
    "\t$WL_PATH bi 50000 && echo Beacon interval is 50000 || exit 1",
    "\t$WL_PATH rate $mRate && echo Set rate to $mRate success || exit 1",
    "\t$WL_PATH rateset $mRate'b' && echo Set rateset to $mRate success exit 1",
    "\t$WL_PATH up && echo wl up success || exit 1",
    "}",
    "stopWifiRxFunc()",
    "{",
    "\techo enter stopWifiRxFunc",
    "}",
    "WL_PATH=/system/bin/wl",
    "echo $WL_PATH",
    "version=0",
    "power=0",
    "PER=0",
    "cmdType=$1",
    "echo cmdType is $cmdType",
    "case $cmdType in\t",
    "\t11)",
    "\t\tmchannel=$2",
    "\t\tmrate=$3",
    "\t\tcase $mrate in",
    "\t\t\t550) mrate=5.5 ;;",
    "\t\t\t*);;",
    "\t\tesac\t",
    "\t\tmpower=$4",
    "\t\tstartWifiTxFunc $mchannel $mrate $mpower || exit 1;;",
    "\t12)",
    "\t\tmchannel=$2",
    "\t\tmrate=$3",
    "\t\tcase $mrate in",
    "\t\t\t550) mrate=5.5;;",
    "\t\t\t*);;",
    "\t\tesac\t",
    "\t\tstartWifiRxFunc $mchannel $mrate || exit 1;;",
    "\t13)\tstopWifiTxFunc || exit 1\t;;",
    "\t14)\tstopWifiRxFunc || exit 1;;",
    "\t*)\techo invalid command option",
    "\t\techo wifi test: 11'('start Tx')', 12'('start Rx')', 13'('stop Tx')', 14'('stop Rx')'",
    "\t\texit 1;;",
    "esac",
    "exit 0",
};
// clang-format on

TEST(WifiScript, Script_Carried_IsTheStoredTextLineByLine) {
  std::string rest = g_wifi_test_script_a;
  for (const char* line : LINES) {
    const std::size_t end = rest.find('\n');
    ASSERT_NE(end, std::string::npos) << "no more lines before: " << line;
    EXPECT_EQ(rest.substr(0, end), line);
    rest.erase(0, end + 1);
  }
  EXPECT_EQ(rest, "");
}

}  // namespace
