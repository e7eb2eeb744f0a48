// Android.bp against the CMake build: a phone's image is built from the same sources with the same flags, with the
// phone's platform, and a tree takes the file.
#include <gmock/gmock.h>

#include <map>

#include "tests/packaging/command.h"
#include "tests/unit/docs/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::string build_file() {
  return project_text("Android.bp");
}

// A module's text, from its type to its closing brace: the file is formatted as the platform's formatter writes it.
std::string module_text(const std::string& name) {
  const auto file = build_file();
  for (const auto& text : matches(file, "\n([a-z_]+ \\{\n(?:    [^\n]*\n|\n)*\\})\n")) {
    if (text.find("\n    name: \"" + name + "\",\n") != text.npos) return text;
  }
  ADD_FAILURE() << "no module " << name;
  return "";
}

// The texts of a list of a module: `srcs: ["a", "b"]`, on one line or several.
std::vector<std::string> list_of(const std::string& module, const std::string& name) {
  const auto found = matches(module, "\n    " + name + ": \\[([^\\]]*)\\]");
  return found.empty() ? std::vector<std::string>() : matches(found[0], "\"([^\"]+)\"");
}

std::set<std::string> set_of(const std::vector<std::string>& list) {
  std::set<std::string> result(list.begin(), list.end());
  EXPECT_EQ(result.size(), list.size()) << "something is there twice";
  return result;
}

// The sources that a CMake target of a folder lists.
std::set<std::string> sources_of_target(const std::string& folder, const std::string& declaration) {
  std::set<std::string> result;
  const auto list = between(project_text(folder + "/CMakeLists.txt"), declaration, ")");
  for (const auto& path : matches(list, "([a-z0-9/_-]+\\.cpp)")) result.insert(folder + "/" + path);
  return result;
}

std::vector<std::string> names_of_modules(const std::string& file) {
  return matches(file, "\n    name: \"([^\"]+)\"");
}

std::vector<std::string> flags_of_cmake() {
  return matches(between(project_text("CMakeLists.txt"), "add_compile_options(-Wall", ")"), "(-W[^ \n]+)");
}

}  // namespace

TEST(BuildFile, Itself_IsTakenAndLeftUnchangedByThePlatformsFormatter) {
  for (const char* file : {"Android.bp", "packaging/vendor-libraries.bp.sample"}) {
    const auto result = run_command("bpfmt -o '" PROJECT_FOLDER "/" + std::string(file) + "'");
    EXPECT_EQ(result.m_status, 0) << result.m_out;
    EXPECT_EQ(result.m_out, project_text(file)) << file;
  }
}

// A tree reads each file of this name, so a second one would be built, too.
TEST(BuildFile, OfItsName_ThereIsOne) {
  const auto found =
      run_command("cd '" PROJECT_FOLDER "' && find . -path ./build -prune -o -name 'Android.[bm][pk]*' -print");
  EXPECT_EQ(found.m_out, "./Android.bp\n");
}

TEST(BuildFile, EachModule_BeginsWithTheProgramsName) {
  const auto names = names_of_modules(build_file());
  EXPECT_GE(set_of(names).size(), 10u);
  for (const auto& name : names) EXPECT_THAT(name, StartsWith("vx-kro-amt"));
}

TEST(BuildFile, EachPath_IsInTheProjectsFolder) {
  const auto paths = matches(build_file(), "\"([A-Za-z0-9./_-]+\\.(?:cpp|rc|cfg))\"");
  std::size_t files = 0;
  for (const auto& path : paths) {
    if (path.find('/') == path.npos) continue;  // a module
    ++files;
    EXPECT_EQ(path.find(".."), path.npos) << path;
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::path(PROJECT_FOLDER) / path)) << path;
  }
  EXPECT_GT(files, 80u);
}

TEST(BuildFile, SourcesOfEachModule_AreThoseOfTheCMakeTarget) {
  const std::map<std::string, std::set<std::string>> expected = {
      {"vx-kro-amt-pub", sources_of_target("pub", "add_library(vx-kro-pub STATIC")},
      {"vx-kro-amt-platform", sources_of_target("platform", "add_library(vx-kro-platform-phone OBJECT")},
      {"vx-kro-amt-codec", sources_of_target("amt", "add_library(amt-codec STATIC")},
      {"vx-kro-amt-screen", sources_of_target("amt/amt-screen", "add_library(amt-screen STATIC")},
      {"vx-kro-amt-service", sources_of_target("amt", "add_library(amt-service STATIC")},
      {"vx-kro-amt", sources_of_target("amt", "add_executable(vx-kro-amt ")},
  };
  for (const auto& [name, sources] : expected) {
    EXPECT_FALSE(sources.empty()) << name;
    EXPECT_EQ(set_of(list_of(module_text(name), "srcs")), sources) << name;
  }
}

TEST(BuildFile, PhonesPlatform_IsWhole) {
  std::set<std::string> files;
  for (const auto& path : project_files("platform/phone", {".cpp"})) files.insert(path);
  EXPECT_EQ(set_of(list_of(module_text("vx-kro-amt-platform"), "srcs")), files);
}

// -Wpedantic is left out: the platform's own headers use what it warns of.
TEST(BuildFile, Warnings_AreThoseOfTheCMakeBuild) {
  auto expected = set_of(flags_of_cmake());
  expected.insert("-Wall");
  EXPECT_EQ(expected.erase("-Wpedantic"), 1u);
  EXPECT_EQ(set_of(list_of(module_text("vx-kro-amt-defaults"), "cflags")), expected);
}

TEST(BuildFile, LanguageOfTheSources_IsThatOfTheCMakeBuild) {
  const auto standard = matches(project_text("CMakeLists.txt"), "set\\(CMAKE_CXX_STANDARD ([0-9]+)\\)");
  ASSERT_EQ(standard.size(), 1u);
  EXPECT_THAT(module_text("vx-kro-amt-defaults"), HasSubstr("cpp_std: \"c++" + standard[0] + "\""));
}

// The platform's flags forbid the build's date; only the program that prints it may have it.
TEST(BuildFile, DateOfTheBuild_IsAllowedWhereItIsUsed) {
  EXPECT_THAT(list_of(module_text("vx-kro-amt"), "cflags"), ElementsAre("-Wno-date-time"));
  std::vector<std::string> users;
  for (const char* folder : {"amt", "pub", "platform"}) {
    for (const auto& path : project_files(folder, {".cpp", ".h"})) {
      if (project_text(path).find("__DATE__") != std::string::npos) users.push_back(path);
    }
  }
  EXPECT_THAT(users, ElementsAre("amt/main.cpp"));
}

TEST(BuildFile, Program_HasTheLibrariesOfTheCMakeBuild) {
  EXPECT_THAT(list_of(module_text("vx-kro-amt"), "shared_libs"),
              UnorderedElementsAre("libcutils", "libhwt", "liblog", "libz"));
  const auto own = list_of(module_text("vx-kro-amt"), "static_libs");
  EXPECT_THAT(own, UnorderedElementsAre("vx-kro-amt-service", "vx-kro-amt-screen", "vx-kro-amt-codec",
                                        "vx-kro-amt-platform", "vx-kro-amt-pub"));
  for (const auto& name : own) EXPECT_THAT(module_text(name), StartsWith("cc_library_static"));
  EXPECT_THAT(project_text("amt/CMakeLists.txt"),
              HasSubstr("PUBLIC amt-codec amt-screen vx-kro-platform hwt vx-kro-pub ${CMAKE_DL_LIBS})"));
}

// Its flags and the folder of its headers come with the defaults; the libraries' headers with the libraries.
TEST(BuildFile, EachModuleOfCode_HasTheDefaultsAndTheHeadersOfItsLibraries) {
  const std::map<std::string, std::vector<std::string>> libraries = {
      {"vx-kro-amt-pub", {"liblog"}},     {"vx-kro-amt-platform", {"libcutils", "liblog"}},
      {"vx-kro-amt-codec", {}},           {"vx-kro-amt-screen", {"liblog", "libz"}},
      {"vx-kro-amt-service", {"liblog"}},
  };
  for (const auto& [name, shared] : libraries) {
    EXPECT_THAT(list_of(module_text(name), "defaults"), ElementsAre("vx-kro-amt-defaults")) << name;
    EXPECT_EQ(list_of(module_text(name), "shared_libs"), shared) << name;
  }
  EXPECT_THAT(list_of(module_text("vx-kro-amt"), "defaults"), ElementsAre("vx-kro-amt-defaults"));
  EXPECT_THAT(list_of(module_text("vx-kro-amt-defaults"), "local_include_dirs"), ElementsAre("."));
}

TEST(BuildFile, License_IsNamedForAllModules) {
  const auto license = matches(build_file(), "\nlicense \\{\n    name: \"([^\"]+)\"");
  ASSERT_EQ(license.size(), 1u);
  EXPECT_THAT(build_file(), HasSubstr("default_applicable_licenses: [\"" + license[0] + "\"]"));
  // The platform's names; a tree that does not know the kind does not build.
  const auto kinds = matches(build_file(), "license_kinds: \\[\"([^\"]*)\"\\]");
  ASSERT_EQ(kinds.size(), 1u);
  EXPECT_TRUE(std::regex_match(kinds[0], std::regex("SPDX-license-identifier-[A-Za-z0-9.-]+|"
                                                    "legacy_(by_exception_only|notice|permissive|proprietary|"
                                                    "reciprocal|restricted|unencumbered)")))
      << kinds[0];
}

// A system program is built for its image.
TEST(BuildFile, SdkVersion_IsNotNamed) {
  EXPECT_EQ(build_file().find("sdk_version"), std::string::npos);
}

TEST(BuildFile, SampleOfTheVendorsLibraries_NamesWhatTheServiceOpens) {
  const auto sample = project_text("packaging/vendor-libraries.bp.sample");
  EXPECT_THAT(names_of_modules(sample), ElementsAre("libhwt", "amt.vx5210.misc"));
  EXPECT_THAT(sample, HasSubstr("relative_install_path: \"hw\""));
  EXPECT_THAT(project_text("amt/amt-device/misc-library.cpp"), HasSubstr("\"%s/amt.%s.misc.so\""));
  EXPECT_THAT(project_text("amt/amt-device/misc-library.cpp"), HasSubstr("\"/system/lib64/hw\""));
}

// Nothing reads vx.mode.file: a sample of it would only mislead.
TEST(SampleConfiguration, Itself_SetsEachKeyThatTheServiceReads) {
  auto read = set_of(matches(project_text("amt/amt-cfg.cpp"), "\\{\"(vx\\.[a-z.]+)\", &amt_cfg_st"));
  EXPECT_EQ(read.erase("vx.mode.file"), 1u);
  EXPECT_GE(read.size(), 8u);
  EXPECT_EQ(set_of(matches(project_text("packaging/vx-kro-amt.cfg"), "\n(vx\\.[a-z.]+) = [^ \n]")), read);
}
