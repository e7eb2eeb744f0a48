// What README and the documents print works as it is printed, in the order in which it stands there. A document's
// devices (/dev/ttyUSB0, /dev/pts/7) are those of its reader's machine: the virtual phone's stand in for them.
#include "tests/documents/commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "handset/wire/files.h"
#include "tests/documents/reader.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> texts(const printed& found) {
  std::vector<std::string> all;
  for (const auto& command : found.commands) all.push_back(command.text);
  return all;
}

TEST(Extraction, Blocks_GiveTheirCommands) {
  EXPECT_THAT(texts(commands_of("Text.\n\n    amt-station --port X imei    what it is\n    -> sent\n\n"
                                "```sh\n$ handset ctl state\nphone1\n```\nTry `build/bin/handset ctl tty` now.\n")),
              ElementsAre("amt-station --port X imei", "handset ctl state", "build/bin/handset ctl tty"));
}

TEST(Extraction, MarkedBlock_IsSkippedWithItsReason) {
  const auto found = commands_of(
      "<!-- not run: needs a phone -->\n\n    amt-station a\n    amt-station b\n\nText\n\n    amt-station c\n");
  EXPECT_THAT(texts(found), ElementsAre("amt-station c"));
  EXPECT_THAT(found.skipped, ElementsAre("amt-station a: needs a phone", "amt-station b: needs a phone"));
}

TEST(Extraction, ExpectedExitOutputAndFiles_AreTaken) {
  const auto found =
      commands_of("    amt-station x  # exit 7\n\n```text output\na\nb\n```\n\n```python a.py\nprint(1)\n```\n");
  ASSERT_EQ(found.commands.size(), 1u);
  EXPECT_EQ(found.commands[0].output, "a\nb\n");
  EXPECT_EQ(found.commands[0].text, "amt-station x");
  EXPECT_EQ(found.commands[0].exit, 7);
  EXPECT_EQ(found.files.at("a.py"), "print(1)\n");
}

class Document : public testing::TestWithParam<const char*> {};

TEST_P(Document, PrintedCommands_Work) {
  const auto found = commands_of(handset::read_whole_file(std::string(SOURCE_FOLDER "/") + GetParam()).value());
  ASSERT_FALSE(found.commands.empty());
  for (const auto& skipped : found.skipped) std::printf("not run: %s\n", skipped.c_str());
  reader reader;
  for (const auto& [name, text] : found.files) std::ofstream(reader.folder() / name) << text;
  if (!is_phone(found.commands[0].text)) reader.start_phone("handset run");
  for (const auto& command : found.commands) {
    SCOPED_TRACE(command.text);
    if (is_phone(command.text)) {
      reader.start_phone(command.text);
      continue;
    }
    const auto result = reader.type(reader.prepare(command.text));
    EXPECT_EQ(result.exit, command.exit) << result.output;
    EXPECT_EQ(result.output, command.output.value_or(result.output));
  }
}

INSTANTIATE_TEST_SUITE_P(Kept, Document,
                         testing::Values("README.md", "docs/station.md", "docs/words.md", "docs/virtual-phone.md",
                                         "docs/usb-start.md", "docs/first-hour.md", "docs/device-tests.md",
                                         "docs/plans.md", "docs/results.md"),
                         [](const auto& one) {
                           std::string name = std::filesystem::path(one.param).stem();
                           std::erase_if(name, [](char c) { return c == '-'; });
                           return name;
                         });

}  // namespace
