// A board vendor's library that lacks every operation.
extern "C" int unit_board_is_empty(void);

int unit_board_is_empty(void) {
  return 1;
}
