// Stands for the board vendor's library. What it is asked, it asks the test program that loaded it.
extern "C" {

int unit_board_call(const char* operation, int argument);

int amt_usb_charger_enable(int enable);
int IsChargeState(void);
int amt_check_system_sanity(void);

int amt_usb_charger_enable(int enable) {
  return unit_board_call("amt_usb_charger_enable", enable);
}

int IsChargeState(void) {
  return unit_board_call("IsChargeState", 0);
}

int amt_check_system_sanity(void) {
  return unit_board_call("amt_check_system_sanity", 0);
}
}
