// packaging/absence-check.sh on images: a clean one passes, and anything of the service in it is found.
#include <gmock/gmock.h>

#include "tests/packaging/policy.h"
#include "tests/unit/docs/text.h"

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr char SERVICE[] = SERVICE_FILE;

// An image with a program, a library and a policy in it that have nothing to do with the service.
class image {
 public:
  image() {
    put("system/build.prop", "ro.build.display.id=1\n");
    put("system/etc/init/other.rc", "service other /system/bin/other\n    user root\n");
    put("vendor/etc/fstab.board", "/dev/block/by-name/userdata /data ext4 noatime wait\n");
    put("vendor/etc/selinux/vendor_file_contexts", "/data/other u:object_r:other_file:s0\n");
    copy("/bin/true", "system/bin/other");
  }

  fs::path at(const std::string& path) const { return m_folder.path(path); }
  void put(const std::string& path, const std::string& text) const {
    fs::create_directories(at(path).parent_path());
    std::ofstream(at(path), std::ios::binary) << text;
  }
  void copy(const fs::path& from, const std::string& path) const {
    fs::create_directories(at(path).parent_path());
    fs::copy_file(from, at(path));
  }
  command_result_st check() const {
    return run_command("'" PROJECT_FOLDER "/packaging/absence-check.sh' '" + m_folder.path("") + "'");
  }

 private:
  temp_folder m_folder;
};

void expect_finding(const image& image, const std::string& text) {
  const auto result = image.check();
  EXPECT_EQ(result.m_status, 1);
  EXPECT_THAT(result.m_out, HasSubstr(text + "\n"));
}

struct kit_file_st {
  const char* m_what;
  const char* m_from;  // of the project
  const char* m_name;  // in the image, a harmless one
};

class AbsenceOfKitFile : public testing::TestWithParam<kit_file_st> {};
class AbsenceOfName : public testing::TestWithParam<const char*> {};

}  // namespace

TEST(AbsenceCheck, CleanImage_Passes) {
  const auto result = image().check();
  EXPECT_EQ(result.m_status, 0);
  EXPECT_THAT(result.m_out, HasSubstr("nothing of vx-kro-amt is in "));
}

TEST(AbsenceCheck, ProgramUnderItsName_IsFound) {
  const image image;
  image.copy(SERVICE, "system/bin/vx-kro-amt");
  expect_finding(image, "./system/bin/vx-kro-amt: its name");
}

TEST(AbsenceCheck, StrippedProgramUnderAnotherName_IsFound) {
  const image image;
  image.put("system/bin/health d", "");
  ASSERT_EQ(run_command("strip -o '" + image.at("system/bin/health d").string() + "' " SERVICE_FILE).m_status, 0);
  expect_finding(image, "./system/bin/health d: holds \"AT^DAMTOFF\"");
}

TEST(AbsenceCheck, ProgramPackedByGzip_IsFound) {
  const image image;
  image.copy(SERVICE, "vendor/firmware/x");
  ASSERT_EQ(run_command("gzip '" + image.at("vendor/firmware/x").string() + "'").m_status, 0);
  expect_finding(image, "./vendor/firmware/x.gz: holds a mark, packed");
}

// The type's name stays in the binary form that a phone loads.
TEST(AbsenceCheck, CompiledPolicy_IsFound) {
  const image image;
  const policy with_service;
  ASSERT_TRUE(with_service.compiles()) << with_service.messages();
  image.copy(with_service.file(), "vendor/etc/selinux/precompiled_sepolicy");
  expect_finding(image, "./vendor/etc/selinux/precompiled_sepolicy: holds \"vx_kro_amt\"");
}

TEST_P(AbsenceOfKitFile, UnderAnotherName_IsFound) {
  const image image;
  image.copy(fs::path(PROJECT_FOLDER) / GetParam().m_from, GetParam().m_name);
  expect_finding(image, std::string("./") + GetParam().m_name + ": holds \"vx" +
                            (GetParam().m_from[10] == 's' ? "_kro_amt\"" : "-kro-amt\""));
}

INSTANTIATE_TEST_SUITE_P(
    Files, AbsenceOfKitFile,
    testing::Values(kit_file_st{"InitFile", "packaging/vx-kro-amt.rc", "system/etc/init/a.rc"},
                    kit_file_st{"InitFileOfTheCable", "packaging/vx-kro-amt-usb.rc", "vendor/etc/init/a.rc"},
                    kit_file_st{"Configuration", "packaging/vx-kro-amt.cfg", "system/etc/a.cfg"},
                    kit_file_st{"Rules", "packaging/sepolicy/vx_kro_amt.te", "system/etc/selinux/a"},
                    kit_file_st{"FileContexts", "packaging/sepolicy/file_contexts", "system/etc/selinux/a"},
                    kit_file_st{"PropertyContexts", "packaging/sepolicy/property_contexts", "system/etc/selinux/a"},
                    kit_file_st{"DriversContexts", "packaging/sepolicy/genfs_contexts", "system/etc/selinux/a"}),
    [](const auto& row) { return row.param.m_what; });

TEST_P(AbsenceOfName, Anywhere_IsFound) {
  const image image;
  image.put(GetParam(), "");
  expect_finding(image, std::string("./") + GetParam() + ": its name");
}

INSTANTIATE_TEST_SUITE_P(Names, AbsenceOfName,
                         testing::Values("system/lib64/libhwt.so", "system/lib64/hw/amt.vx5211.misc.so",
                                         "system/bin/amt-audio", "data/BT_Address.txt", "data/power_usb_amt.txt",
                                         "odm/etc/vx_kro_amt.cil"));

TEST(AbsenceCheck, FolderOfTheRecords_IsFound) {
  const image image;
  fs::create_directories(image.at("root/amt"));
  expect_finding(image, "./root/amt: folder of the records");
}

TEST(AbsenceCheck, MountOfTheRecords_IsFound) {
  const image image;
  image.put("vendor/etc/fstab.x", "/dev/block/by-name/f /amt ext4 nosuid wait\n");
  image.put("vendor/etc/init/y.rc", "on fs\n    mkdir /amt 0755\n");
  image.put("vendor/etc/selinux/z_contexts", "/amt(/.*)? u:object_r:other_file:s0\n");
  for (const char* path : {"fstab.x", "init/y.rc", "selinux/z_contexts"})
    expect_finding(image, std::string("./vendor/etc/") + path + ": names the folder of the records");
}

TEST(AbsenceCheck, FolderWithASimilarName_IsNone) {
  const image image;
  image.put("vendor/etc/init/y.rc", "on fs\n    mkdir /amtel 0755\n    mkdir /data/amt 0755\n");
  EXPECT_EQ(image.check().m_status, 0);
}

TEST(AbsenceCheck, LinkToTheProgram_IsFound) {
  const image image;
  fs::create_symlink("/system/bin/vx-kro-amt", image.at("system/bin/factory"));
  expect_finding(image, "./system/bin/factory: its name");
}

// Names that a shell or a list of lines would take for something else.
TEST(AbsenceCheck, ProgramUnderAHostileName_IsFound) {
  const image image;
  for (const char* name : {"-rf", " a ", "a*", "$(b)", "a\nb"}) image.copy(SERVICE, std::string("system/bin/") + name);
  for (const char* name : {"-rf", " a ", "a*", "$(b)", "a?b"})
    expect_finding(image, std::string("./system/bin/") + name + ": holds \"AT^DAMTOFF\"");
}

TEST(AbsenceCheck, ImageWhoseNameBeginsWithADash_IsChecked) {
  const image image;
  const auto result = run_command("cd '" + image.at("").string() + "' && mkdir -- -i && mv system vendor -t ./-i && " +
                                  "'" PROJECT_FOLDER "/packaging/absence-check.sh' -i");
  EXPECT_EQ(result.m_status, 0) << result.m_out;
}

// Whatever its name: by its first bytes.
TEST(AbsenceCheck, PackedFileUnderAHarmlessName_IsFound) {
  const image image;
  image.copy(SERVICE, "a");
  const auto folder = image.at("").string();
  ASSERT_EQ(run_command("cd '" + folder + "' && xz -c a >system/b && tar -czf system/c a && rm a").m_status, 0);
  expect_finding(image, "./system/b: packed, and not unpacked beside it");
  expect_finding(image, "./system/c: holds a mark, packed");
}

// What it cannot see it says.
TEST(AbsenceCheck, Applications_AreToldAsNotLookedInto) {
  const image image;
  image.put("system/app/a.apk", "PK\x03\x04");
  const auto result = image.check();
  EXPECT_EQ(result.m_status, 0) << result.m_out;
  EXPECT_THAT(result.m_out, HasSubstr("not looked into: 1 applications\n"));
}

TEST(AbsenceCheck, FileThatCannotBeReadToItsEnd_IsNoProof) {
  const image image;
  image.put("system/etc/half.gz", "\x1f\x8b\x08");
  EXPECT_EQ(image.check().m_status, 2);
}

TEST(AbsenceCheck, PropertyInABuildFile_IsFound) {
  const image image;
  image.put("vendor/build.prop", "amt.normal.amt.switch_status=1\n");
  expect_finding(image, "./vendor/build.prop: holds \"amt.normal.amt.switch_status\"");
}

TEST(AbsenceCheck, PackedFile_IsAFindingUntilUnpackedBesideIt) {
  const image image;
  image.put("system/apex/a.apex", "");
  expect_finding(image, "./system/apex/a.apex: packed, and not unpacked beside it");
  image.put("system/apex/a.apex.unpacked/bin/x", "");
  EXPECT_EQ(image.check().m_status, 0);
}

TEST(AbsenceCheck, FolderThatIsNoImage_IsRefused) {
  const temp_folder empty;
  const auto result = run_command("'" PROJECT_FOLDER "/packaging/absence-check.sh' '" + empty.path("") + "'");
  EXPECT_EQ(result.m_status, 2);
  EXPECT_THAT(result.m_out, HasSubstr("no build.prop in it"));
  EXPECT_EQ(run_command("'" PROJECT_FOLDER "/packaging/absence-check.sh'").m_status, 2);
  EXPECT_EQ(run_command("'" PROJECT_FOLDER "/packaging/absence-check.sh' /nowhere").m_status, 2);
}

// A mark that has gone from the sources would find nothing any more.
TEST(AbsenceCheck, EachMark_IsInTheProgramOrInTheKit) {
  const auto marks =
      matches(between(project_text("packaging/absence-check.sh"), "<<'MARKS'", "\nMARKS\n"), "\n([^\n]+)");
  EXPECT_GT(marks.size(), 8u);
  for (const auto& mark : marks) {
    EXPECT_EQ(
        run_command("cd '" PROJECT_FOLDER "/packaging' && grep -qF -e '" + mark + "' " SERVICE_FILE " *.rc sepolicy/*")
            .m_status,
        0)
        << mark;
  }
}
