#include "pub/cfg/cfg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "pub/result.h"
#include "pub/util/io.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::ElementsAre;

class GetLine : public testing::Test {
 protected:
  void open(std::string_view content) {
    m_file = pub_util_fopen(m_folder.write("lines", content).c_str(), "r");
    ASSERT_TRUE(m_file);
  }
  std::string next(std::uint32_t size = 100) {
    EXPECT_EQ(pub_cfg_get_line(m_file.get(), m_buffer, size, &m_length, &m_is_eof), ERR_NONE);
    return m_buffer;
  }

  log_capture m_log;
  temp_folder m_folder;
  pub_file m_file;
  char m_buffer[256] = "old";
  std::uint32_t m_length = 77;
  std::int32_t m_is_eof = 77;
};

TEST_F(GetLine, Lines_KeepTheirLineFeed) {
  open("a=1\r\n\nlast");
  EXPECT_EQ(next(), "a=1\r\n");
  EXPECT_EQ(m_length, 5u);
  EXPECT_EQ(m_is_eof, 0);
  EXPECT_EQ(next(), "\n");
  EXPECT_EQ(next(), "last");
  EXPECT_EQ(m_length, 4u);
  EXPECT_EQ(m_is_eof, 0);
}

TEST_F(GetLine, End_GivesAnEmptyLineAndTheMark) {
  open("a\n");
  next();
  EXPECT_EQ(next(), "");
  EXPECT_EQ(m_length, 0u);
  EXPECT_EQ(m_is_eof, 1);
}

TEST_F(GetLine, EmptyFile_IsAtItsEndAtOnce) {
  open("");
  EXPECT_EQ(next(), "");
  EXPECT_EQ(m_is_eof, 1);
}

TEST_F(GetLine, WholeBuffer_IsClearedFirst) {
  open("a\n");
  std::fill(std::begin(m_buffer), std::end(m_buffer), '#');
  next(10);
  EXPECT_EQ(std::string(m_buffer, 11), std::string("a\n\0\0\0\0\0\0\0\0#", 11));
}

TEST_F(GetLine, LineOf98Characters_FitsABufferOf100) {
  open(std::string(97, 'x') + "\nnext\n");
  EXPECT_EQ(next(), std::string(97, 'x') + "\n");
  EXPECT_EQ(next(), "next\n");
}

TEST_F(GetLine, LineOf99Characters_LosesItsLineFeedToTheNext) {
  open(std::string(98, 'x') + "\nnext\n");
  EXPECT_EQ(next(), std::string(98, 'x'));
  EXPECT_EQ(m_length, 98u);
  EXPECT_EQ(next(), "\n");
  EXPECT_EQ(next(), "next\n");
}

TEST_F(GetLine, LineOf200Characters_ComesInThreePieces) {
  open(std::string(98, 'x') + std::string(98, 'y') + "zzz\n");
  EXPECT_EQ(next(), std::string(98, 'x'));
  EXPECT_EQ(next(), std::string(98, 'y'));
  EXPECT_EQ(next(), "zzz\n");
}

TEST_F(GetLine, SmallestBuffer_ReadsOneCharacter) {
  open("ab");
  EXPECT_EQ(next(3), "a");
  EXPECT_EQ(next(3), "b");
}

TEST_F(GetLine, NulInALine_EndsItsText) {
  open(std::string("ab\0cd\nnext\n", 11));
  EXPECT_EQ(next(), "ab");
  EXPECT_EQ(m_length, 2u);
  EXPECT_EQ(next(), "next\n");
}

TEST_F(GetLine, Folder_IsAtItsEndAtOnce) {
  m_file = pub_util_fopen(m_folder.path("").c_str(), "r");
  ASSERT_TRUE(m_file);
  EXPECT_EQ(next(), "");
  EXPECT_EQ(m_is_eof, 1);
}

TEST_F(GetLine, BadArguments_AreNamed) {
  open("a\n");
  std::FILE* file = m_file.get();
  const auto trace = failure_line("cfg/cfg", "pub_cfg_get_line", -101);
  EXPECT_EQ(pub_cfg_get_line(nullptr, m_buffer, 100, &m_length, &m_is_eof), ERR_ARGUMENT);
  EXPECT_EQ(pub_cfg_get_line(file, nullptr, 100, &m_length, &m_is_eof), ERR_ARGUMENT);
  EXPECT_EQ(pub_cfg_get_line(file, m_buffer, 0, &m_length, &m_is_eof), ERR_ARGUMENT);
  EXPECT_EQ(pub_cfg_get_line(file, m_buffer, 100, nullptr, &m_is_eof), ERR_ARGUMENT);
  EXPECT_EQ(pub_cfg_get_line(file, m_buffer, 100, &m_length, nullptr), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(), ElementsAre(trace, "1, 0, 0, 0, 0", trace, "0, 1, 0, 0, 0", trace, "0, 0, 1, 0, 0", trace,
                                         "0, 0, 0, 1, 0", trace, "0, 0, 0, 0, 1"));
  EXPECT_EQ(m_log.lines()[0].m_tag, "vx-kro-pub");
  EXPECT_EQ(next(), "a\n");
}

struct pair_row_st {
  const char* m_line;
  const char* m_key;
  const char* m_value;
};

class GetParamAndValue : public testing::TestWithParam<pair_row_st> {};

TEST_P(GetParamAndValue, Line_IsSplit) {
  std::string line = GetParam().m_line;
  char* key = nullptr;
  char* value = nullptr;
  ASSERT_EQ(pub_cfg_get_param_and_value(line.data(), &key, &value), ERR_NONE);
  EXPECT_STREQ(key, GetParam().m_key);
  EXPECT_STREQ(value, GetParam().m_value);
}

INSTANTIATE_TEST_SUITE_P(Blanks, GetParamAndValue,
                         testing::Values(pair_row_st{"key=value", "key", "value"},
                                         pair_row_st{"  key  =  value  ", "key", "value"},
                                         pair_row_st{"a key=a value", "a key", "a value"}));
INSTANTIATE_TEST_SUITE_P(LineEnds, GetParamAndValue,
                         testing::Values(pair_row_st{"key=value\r\n", "key", "value"},
                                         pair_row_st{"key=value\n", "key", "value"},
                                         pair_row_st{"key=value \r\n \r\n", "key", "value"},
                                         pair_row_st{"key=va\rlue\n", "key", "va\rlue"}));
INSTANTIATE_TEST_SUITE_P(TabsAreNoBlanks, GetParamAndValue,
                         testing::Values(pair_row_st{"\tkey\t=\tvalue\t\n", "\tkey\t", "\tvalue\t"},
                                         pair_row_st{"\t#key=value", "\t#key", "value"}));
INSTANTIATE_TEST_SUITE_P(FurtherEqualsSigns, GetParamAndValue,
                         testing::Values(pair_row_st{"key=a=b==\n", "key", "a=b=="},
                                         pair_row_st{"key==\n", "key", "="}));
INSTANTIATE_TEST_SUITE_P(EmptySides, GetParamAndValue,
                         testing::Values(pair_row_st{"=", "", ""}, pair_row_st{"key=  \r\n", "key", ""},
                                         pair_row_st{"   = value", "", "value"}));
INSTANTIATE_TEST_SUITE_P(HashInside, GetParamAndValue, testing::Values(pair_row_st{"k#=v#w", "k#", "v#w"}));

TEST(GetParamAndValueRefuses, CommentOrNoEqualsSign_IsNotHandled) {
  for (const char* text : {"#key=value", "   # key=value", "no equals sign\n", "", "   ", "\r\n"}) {
    std::string line = text;
    char* key = nullptr;
    char* value = nullptr;
    EXPECT_EQ(pub_cfg_get_param_and_value(line.data(), &key, &value), ERR_NOT_HANDLED) << text;
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(value, nullptr);
  }
}

TEST(GetParamAndValueRefuses, NullArguments_AreNamed) {
  log_capture log;
  char line[] = "key=value";
  char* key = nullptr;
  char* value = nullptr;
  const auto trace = failure_line("cfg/cfg", "pub_cfg_get_param_and_value", -101);
  EXPECT_EQ(pub_cfg_get_param_and_value(nullptr, &key, &value), ERR_ARGUMENT);
  EXPECT_EQ(pub_cfg_get_param_and_value(line, nullptr, &value), ERR_ARGUMENT);
  EXPECT_EQ(pub_cfg_get_param_and_value(line, &key, nullptr), ERR_ARGUMENT);
  EXPECT_THAT(log.texts(), ElementsAre(trace, "1, 0, 0", trace, "0, 1, 0", trace, "0, 0, 1"));
  EXPECT_STREQ(line, "key=value");
}

}  // namespace
