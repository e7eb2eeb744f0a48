// The picture of the rooms in docs/architecture.md against the includes of the sources.
#include <map>
#include <utility>

#include "tests/unit/docs/text.h"

namespace {

using arrow = std::pair<std::string, std::string>;  // from a room to one that it includes

struct picture_st {
  std::set<std::string> m_rooms;
  std::set<arrow> m_arrows;
};

// Nodes are `name["path"]` where they come first and `name` elsewhere; an arrow is `node --> node`.
picture_st read_picture() {
  const std::string text = between(project_text("docs/architecture.md"), "```mermaid\n", "```");
  std::map<std::string, std::string> paths;
  const std::regex node(R"rx((\w+)\["([^"]+)"\])rx");
  for (std::sregex_iterator at(text.begin(), text.end(), node), end; at != end; ++at) paths[at->str(1)] = at->str(2);
  picture_st picture;
  for (const auto& [name, path] : paths) picture.m_rooms.insert(path);
  const std::regex line(R"rx((\w+)(?:\["[^"]+"\])? --> (\w+))rx");
  for (std::sregex_iterator at(text.begin(), text.end(), line), end; at != end; ++at) {
    EXPECT_TRUE(paths.count(at->str(1)) == 1 && paths.count(at->str(2)) == 1) << at->str();
    picture.m_arrows.insert({paths[at->str(1)], paths[at->str(2)]});
  }
  return picture;
}

// The room in which a path stands: the longest one that it begins with.
std::string room_of(const std::string& path, const std::set<std::string>& rooms) {
  std::string best;
  for (const auto& room : rooms) {
    const bool is_inside = path.starts_with(room) && (path[room.size()] == '/' || path[room.size()] == '.');
    if (is_inside && room.size() > best.size()) best = room;
  }
  return best;
}

std::set<arrow> arrows_of_sources(const std::set<std::string>& rooms) {
  std::set<arrow> result;
  for (const char* folder : {"amt", "pub", "platform", "handset", "station", "completion"}) {
    for (const auto& path : project_files(folder, {".cpp", ".h"})) {
      const std::string from = room_of(path, rooms);
      EXPECT_NE(from, "") << path << " stands in no room of the picture";
      for (const auto& include : matches(project_text(path), "#include \"([^\"]+)\"")) {
        const std::string to = room_of(include, rooms);
        EXPECT_NE(to, "") << include << " stands in no room of the picture";
        if (from != to) result.insert({from, to});
      }
    }
  }
  return result;
}

// Whether one room reaches another over arrows.
bool reaches(const std::string& from, const std::string& to, const std::set<arrow>& arrows) {
  for (auto at = arrows.lower_bound({from, ""}); at != arrows.end() && at->first == from; ++at) {
    if (at->second == to || reaches(at->second, to, arrows)) return true;
  }
  return false;
}

}  // namespace

TEST(Rooms, EachArrowOfThePicture_IsAnInclude) {
  const auto picture = read_picture();
  ASSERT_GT(picture.m_arrows.size(), 20u);
  const auto real = arrows_of_sources(picture.m_rooms);
  for (const auto& drawn : picture.m_arrows) EXPECT_EQ(real.count(drawn), 1u) << drawn.first << " --> " << drawn.second;
}

TEST(Rooms, EachInclude_FollowsFromThePicture) {
  const auto picture = read_picture();
  for (const auto& [from, to] : arrows_of_sources(picture.m_rooms)) {
    EXPECT_TRUE(reaches(from, to, picture.m_arrows)) << from << " --> " << to;
  }
}

// So no arrows of the picture form a circle, and no arrow repeats what a chain of others shows already.
TEST(Rooms, Picture_HasNoCircleAndNoSpareArrow) {
  const auto picture = read_picture();
  for (const auto& room : picture.m_rooms) EXPECT_FALSE(reaches(room, room, picture.m_arrows)) << room;
  for (const auto& drawn : picture.m_arrows) {
    auto others = picture.m_arrows;
    others.erase(drawn);
    EXPECT_FALSE(reaches(drawn.first, drawn.second, others)) << drawn.first << " --> " << drawn.second;
  }
}
