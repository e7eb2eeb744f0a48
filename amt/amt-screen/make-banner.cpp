// make-banner            prints banner-data.cpp
// make-banner --pixels   prints the picture: RGB565, 346 x 390
#include "amt/amt-screen/make-banner.h"

#include <cstdio>
#include <string_view>

int main(int count, char** words) {
  const auto pixels = draw_banner();
  if (count == 2 && std::string_view(words[1]) == "--pixels") {
    return std::fwrite(pixels.data(), 1, pixels.size(), stdout) == pixels.size() ? 0 : 1;
  }
  const auto member = pack_banner(pixels);
  if (member.empty()) {
    std::fputs("make-banner: the picture does not fit into the member\n", stderr);
    return 1;
  }
  return std::fputs(banner_source(member).c_str(), stdout) < 0 ? 1 : 0;
}
