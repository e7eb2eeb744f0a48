// A board's library without any of the operations that the service looks up.
extern "C" int something_else();
int something_else() {
  return 0;
}
