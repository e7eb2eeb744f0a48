// A board library without any of the operations that the service looks for.
extern "C" int nothing_to_see_here();
int nothing_to_see_here() {
  return 0;
}
