#include "driver/whole_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "driver/protected_inputs.h"
#include "support/allocation_limit.h"
#include "support/failing_calls.h"
#include "support/files.h"
#include "support/ordinary_user.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

// The message, or an empty text.
std::string write_whole(const char *path, const char *text) {
  error_slot error = nullptr;
  whole_output output = open_whole_output(path, &error);
  if (output.file) {
    std::fputs(text, output.file.get());
    close_whole_output(std::move(output), path, &error);
  }
  return error != nullptr ? error : "";
}

std::set<std::string> names_in(const char *folder) {
  std::set<std::string> names;
  for (const fs::directory_entry &entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

using names = std::set<std::string>;

struct stat status_of(const char *path) {
  struct stat status = {};
  EXPECT_EQ(stat(path, &status), 0) << path;
  return status;
}

mode_t permissions_of(const char *path) { return status_of(path).st_mode & 07777; }

TEST(whole_output_test, creates_a_file_with_the_usual_permissions) {
  const temp_dir dir;
  const mode_t usual = umask(027);
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  umask(usual);
  EXPECT_EQ(read_text("out.txt"), "new");
  EXPECT_EQ(permissions_of("out.txt"), 0640U);
  EXPECT_EQ(names_in("."), names{"out.txt"});
}

TEST(whole_output_test, shows_the_old_file_until_it_is_closed) {
  const temp_dir dir;
  write_text("out.txt", "old");
  error_slot error = nullptr;
  whole_output output = open_whole_output("out.txt", &error);
  ASSERT_NE(output.file, nullptr);
  EXPECT_EQ(read_text("out.txt"), "old");
  std::fputs("new", output.file.get());
  std::fflush(output.file.get());
  EXPECT_EQ(read_text("out.txt"), "old");
  close_whole_output(std::move(output), "out.txt", &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("out.txt"), "new");
  EXPECT_EQ(names_in("."), names{"out.txt"});
}

TEST(whole_output_test, keeps_the_old_file_when_it_is_given_up) {
  const temp_dir dir;
  write_text("out.txt", "old");
  error_slot error = nullptr;
  {
    const whole_output output = open_whole_output("out.txt", &error);
    std::fputs("new", output.file.get());
  }
  EXPECT_EQ(read_text("out.txt"), "old");
  whole_output output = open_whole_output("out.txt", &error);
  error = "failed to read file: walk.txt";
  close_whole_output(std::move(output), "out.txt", &error);
  EXPECT_STREQ(error, "failed to read file: walk.txt");
  EXPECT_EQ(read_text("out.txt"), "old");
  EXPECT_EQ(names_in("."), names{"out.txt"});
}

TEST(whole_output_test, keeps_the_permissions_of_the_old_file) {
  const temp_dir dir;
  write_text("out.txt", "old");
  for (const mode_t permissions : {0600U, 0664U, 0755U, 0666U}) {
    ASSERT_EQ(chmod("out.txt", permissions), 0);
    EXPECT_EQ(write_whole("out.txt", "new"), "");
    EXPECT_EQ(permissions_of("out.txt"), permissions);
  }
}

TEST(whole_output_test, keeps_the_owner_of_the_old_file) {
  if (geteuid() != 0) GTEST_SKIP() << "this user cannot give a file away";
  const temp_dir dir;
  write_text("out.txt", "old");
  ASSERT_EQ(chown("out.txt", 65534, 65533), 0);
  ASSERT_EQ(chmod("out.txt", 06755), 0);
  const ino_t old = status_of("out.txt").st_ino;
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  const struct stat status = status_of("out.txt");
  EXPECT_EQ(status.st_uid, 65534U);
  EXPECT_EQ(status.st_gid, 65533U);
  EXPECT_EQ(status.st_mode & 07777, 06755U);
  EXPECT_NE(status.st_ino, old);
}

TEST(whole_output_test, replaces_what_a_link_leads_to) {
  const temp_dir dir;
  fs::create_directory("store");
  write_text("store/course", "old");
  fs::create_symlink("store/second", "out.txt");
  fs::create_symlink("course", "store/second");
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  EXPECT_EQ(read_text("store/course"), "new");
  EXPECT_TRUE(fs::is_symlink("out.txt"));
  EXPECT_TRUE(fs::is_symlink("store/second"));
  EXPECT_EQ(names_in("store"), (names{"course", "second"}));
}

TEST(whole_output_test, creates_what_a_link_leads_to) {
  const temp_dir dir;
  fs::create_symlink("course", "out.txt");
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  EXPECT_TRUE(fs::is_symlink("out.txt"));
  EXPECT_EQ(read_text("course"), "new");
}

TEST(whole_output_test, leaves_a_second_name_of_the_old_file_alone) {
  const temp_dir dir;
  write_text("out.txt", "old");
  fs::create_hard_link("out.txt", "backup.txt");
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  EXPECT_EQ(read_text("out.txt"), "new");
  EXPECT_EQ(read_text("backup.txt"), "old");
}

// It may be a user's file, or one that a killed call has left.
TEST(whole_output_test, touches_no_file_of_the_temporary_name) {
  const temp_dir dir;
  write_text("out.txt.new", "somebody's");
  fs::create_symlink("elsewhere", "out.txt.new.2");
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  EXPECT_EQ(read_text("out.txt"), "new");
  EXPECT_EQ(read_text("out.txt.new"), "somebody's");
  EXPECT_EQ(names_in("."), (names{"out.txt", "out.txt.new", "out.txt.new.2"}));
}

[[noreturn]] void write_as_descriptor_0() {
  close(STDIN_FILENO);
  error_slot error = nullptr;
  const whole_output output = open_whole_output("out.txt", &error);
  std::exit(output.file && fileno(output.file.get()) == 0 && names_in(".") == names{"out.txt.new"} ? 0 : 1);
}

TEST(whole_output_test, creates_one_temporary_file_whatever_its_descriptor) {
  const temp_dir dir;
  EXPECT_EXIT(write_as_descriptor_0(), testing::ExitedWithCode(0), "");
}

TEST(whole_output_test, two_writers_do_not_mix) {
  const temp_dir dir;
  error_slot error = nullptr;
  whole_output first = open_whole_output("out.txt", &error);
  whole_output second = open_whole_output("out.txt", &error);
  std::fputs("first", first.file.get());
  std::fputs("second", second.file.get());
  close_whole_output(std::move(second), "out.txt", &error);
  EXPECT_EQ(read_text("out.txt"), "second");
  close_whole_output(std::move(first), "out.txt", &error);
  EXPECT_EQ(read_text("out.txt"), "first");
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(names_in("."), names{"out.txt"});
}

TEST(whole_output_test, sets_aside_an_input_in_its_place) {
  const temp_dir dir;
  write_text("out.txt", "samples");
  error_slot error = nullptr;
  static const file_handle held = open_input("out.txt", &error);  // no other file may get its inode
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  EXPECT_EQ(read_text("out.txt"), "new");
  EXPECT_EQ(read_text("out.txt.orig"), "samples");
}

TEST(whole_output_test, writes_into_a_pipe_or_device) {
  const temp_dir dir;
  ASSERT_EQ(mkfifo("out.txt", 0600), 0);
  EXPECT_EQ(write_whole("out.txt", "new"), "failed to open file: out.txt");
  const int reader = open("out.txt", O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  char bytes[8] = {};
  EXPECT_EQ(read(reader, bytes, sizeof bytes), 3);
  close(reader);
  EXPECT_EQ(write_whole("/dev/null", "new"), "");
  EXPECT_EQ(write_whole("/dev/full", "new"), "failed to write file: /dev/full");
  EXPECT_EQ(names_in("."), names{"out.txt"});
}

TEST(whole_output_test, names_the_output_that_cannot_be_opened) {
  const temp_dir dir;
  EXPECT_EQ(write_whole("missing/out.txt", "new"), "failed to open file: missing/out.txt");
  fs::create_directory("out.txt");
  EXPECT_EQ(write_whole("out.txt", "new"), "failed to open file: out.txt");
  EXPECT_EQ(names_in("."), names{"out.txt"});
}

// A file in a directory with these permissions, and the result for an ordinary user.
struct permission_case {
  const char *name;
  mode_t folder;
  mode_t file;
  bool is_own;
  const char *message;
  bool is_replaced;  // rather than written in place
};

const permission_case permission_cases[] = {
    {"own file and folder", 0777, 0644, true, "", true},
    {"a folder that takes no new file", 0555, 0644, true, "", false},
    {"a write-protected file", 0777, 0444, true, "failed to open file: folder/out.txt", false},
    {"somebody else's file", 0777, 0666, false, "", false},
    {"somebody else's file that may not be written", 0777, 0644, false, "failed to open file: folder/out.txt", false},
};

TEST(whole_output_test, respects_permissions) {
  for (const permission_case &c : permission_cases) {
    SCOPED_TRACE(c.name);
    const temp_dir dir;
    ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
    fs::create_directory("folder");
    write_text("folder/out.txt", "old");
    const bool is_root = geteuid() == 0;
    if (!is_root && !c.is_own) continue;
    if (is_root && c.is_own) {
      ASSERT_EQ(chown("folder/out.txt", 65534, getegid()), 0);
    }
    ASSERT_EQ(chmod("folder/out.txt", c.file), 0);
    ASSERT_EQ(chmod("folder", c.folder), 0);
    const ino_t old = status_of("folder/out.txt").st_ino;
    {
      const ordinary_user user;
      EXPECT_EQ(write_whole("folder/out.txt", "new"), c.message);
    }
    EXPECT_EQ(read_text("folder/out.txt"), *c.message == '\0' ? "new" : "old");
    EXPECT_EQ(status_of("folder/out.txt").st_ino != old, c.is_replaced);
    EXPECT_EQ(permissions_of("folder/out.txt"), c.file);
    EXPECT_EQ(names_in("folder"), names{"out.txt"});
    ASSERT_EQ(chmod("folder", 0777), 0);
  }
}

constexpr c_call calls[] = {c_call::stat,   c_call::lstat,    c_call::fcntl, c_call::fdopen,
                            c_call::fchown, c_call::realpath, c_call::fsync, c_call::rename};

TEST(whole_output_test, is_the_old_file_or_the_new_one_whatever_fails) {
  for (const bool is_there : {true, false}) {
    for (const c_call call : calls) {
      for (std::size_t granted = 0;; ++granted) {
        SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << " after " << granted);
        const temp_dir dir;
        if (is_there) write_text("out.txt", "old");
        std::size_t refused = 0;
        std::string message;
        {
          const failing_call disk(call, granted, EIO);
          message = write_whole("out.txt", "new");
          refused = disk.refused();
        }
        if (message.empty()) {
          EXPECT_EQ(read_text("out.txt"), "new");
          EXPECT_EQ(names_in("."), names{"out.txt"});
        } else {
          EXPECT_TRUE(message == "failed to open file: out.txt" || message == "failed to write file: out.txt");
          EXPECT_EQ(file_exists("out.txt"), is_there);
          if (is_there) {
            EXPECT_EQ(read_text("out.txt"), "old");
          }
          EXPECT_EQ(names_in("."), is_there ? names{"out.txt"} : names{});
        }
        if (refused == 0) break;
      }
    }
  }
}

TEST(whole_output_test, reports_what_does_not_reach_the_disk) {
  for (const c_call call : {c_call::fsync, c_call::rename}) {
    const temp_dir dir;
    write_text("out.txt", "old");
    const failing_call disk(call, 0, EIO);
    EXPECT_EQ(write_whole("out.txt", "new"), "failed to write file: out.txt");
    EXPECT_EQ(read_text("out.txt"), "old");
  }
}

// A mount point, and a file in an append-only folder.
TEST(whole_output_test, writes_in_place_where_nothing_can_be_replaced) {
  for (const int cause : {EBUSY, EPERM, EACCES}) {
    const temp_dir dir;
    write_text("out.txt", "old and longer");
    const ino_t old = status_of("out.txt").st_ino;
    const failing_call mounted(c_call::rename, 0, cause);
    EXPECT_EQ(write_whole("out.txt", "new"), "");
    EXPECT_EQ(read_text("out.txt"), "new");
    EXPECT_EQ(status_of("out.txt").st_ino, old);
    EXPECT_EQ(names_in("."), names{"out.txt"});
  }
}

TEST(whole_output_test, reports_what_cannot_be_written_in_place) {
  for (const c_call call : {c_call::fdopen, c_call::fstat, c_call::stat}) {
    for (std::size_t granted = 0;; ++granted) {
      SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << " after " << granted);
      const temp_dir dir;
      write_text("out.txt", "old");
      const failing_call mounted(c_call::rename, 0, EBUSY);
      const failing_call disk(call, granted, EIO);
      const std::string message = write_whole("out.txt", "new");
      EXPECT_EQ(message.empty(), disk.refused() == 0);
      EXPECT_EQ(read_text("out.txt"), message.empty() ? "new" : "old");
      EXPECT_EQ(names_in("."), names{"out.txt"});
      if (disk.refused() == 0) break;
    }
  }
}

// "u::rw-,u:1:r--,g::r--,m::r--,o::---" as the kernel stores it.
TEST(whole_output_test, keeps_an_access_control_list) {
  const temp_dir dir;
  write_text("out.txt", "old");
  struct entry {
    std::uint16_t tag, permissions;
    std::uint32_t id;
  };
  constexpr std::uint32_t no_id = 0xffffffff;
  const struct {
    std::uint32_t version = 2;
    entry entries[5] = {{0x01, 6, no_id}, {0x02, 4, 1}, {0x04, 4, no_id}, {0x10, 4, no_id}, {0x20, 0, no_id}};
  } list;
  constexpr const char *name = "system.posix_acl_access";
  if (setxattr("out.txt", name, &list, sizeof list, 0) != 0) GTEST_SKIP() << "a file system without them";
  EXPECT_EQ(write_whole("out.txt", "new"), "");
  EXPECT_EQ(read_text("out.txt"), "new");
  EXPECT_EQ(getxattr("out.txt", name, nullptr, 0), static_cast<ssize_t>(sizeof list));
}

// A user who cannot give a new file the owner or the permissions writes the file in place.
TEST(whole_output_test, never_replaces_a_file_by_one_of_other_rights) {
  for (const c_call call : {c_call::fchown, c_call::fchmod}) {
    const temp_dir dir;
    write_text("out.txt", "old");
    const ino_t old = status_of("out.txt").st_ino;
    const failing_call rights(call, 0, EPERM);
    EXPECT_EQ(write_whole("out.txt", "new"), "");
    EXPECT_EQ(read_text("out.txt"), "new");
    EXPECT_EQ(status_of("out.txt").st_ino, old);
    EXPECT_EQ(names_in("."), names{"out.txt"});
  }
}

TEST(whole_output_test, writes_in_place_without_memory_for_a_name) {
  for (std::size_t granted = 0; granted < 3; ++granted) {
    const temp_dir dir;
    const allocation_limit limit(granted);
    EXPECT_EQ(write_whole("out.txt", "new"), "");
    EXPECT_EQ(read_text("out.txt"), "new");
    EXPECT_EQ(names_in("."), names{"out.txt"});
  }
}

}  // namespace
}  // namespace tarvel
