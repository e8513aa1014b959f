#include "editfile.h"
#include "failure.h"

#include "zk_settings/settings.h"

#include "support/files.h"
#include "support/mounts.h"
#include "support/rows.h"
#include "support/unprivileged.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/xattr.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

const std::vector<std::string> setTwo = {"set", "f", "", "k", "2"};

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

mode_t modeOf(const std::string& path)
{
    return statusOf(path).st_mode & 07777;
}

std::vector<std::string> namesIn(const std::string& directory)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

using Names = std::vector<std::string>;

// A directory that every user may write, with the file "f".
class Files : public testing::Test
{
protected:
    Files()
    {
        fs::permissions(dir.path(), fs::perms(0777));
        writeFile(f, "k=1\n");
    }

    Finished set() { return settings(dir.path(), setTwo); }

    // Returns what a shell command prints on standard error as an ordinary user; `zk` is the program. The build
    // directory may be closed to that user, so the program and the library are copied.
    std::string errorAsOrdinaryUser(const std::string& line) const
    {
        const TempDir copies;
        fs::permissions(copies.path(), fs::perms(0777));
        fs::copy_file(ZK_SETTINGS, copies / "zk_settings");
        fs::copy_file(KQSUPPORT_LIBRARY, copies / KQSUPPORT_SONAME);
        const std::string zk =
            "zk() { LD_LIBRARY_PATH=" + copies.path() + ' ' + (copies / "zk_settings") + " \"$@\"; }\n";
        std::vector<std::string> environment = {"LC_ALL=C"};
        if (geteuid() == 0) // then another user cannot write the coverage data to the build directory either
            environment.push_back("GCOV_PREFIX=" + copies.path());
        return asOrdinaryUser([&] { return run({"sh", "-c", zk + line}, {{}, environment, dir.path()}).err; });
    }

    void expectRefusal(const Finished& finished, const std::string& error)
    {
        EXPECT_EQ(finished.status, 2);
        EXPECT_EQ(finished.out, "");
        EXPECT_EQ(finished.err, "zk_settings: " + error + '\n');
    }

    const TempDir dir;
    const std::string f = dir / "f";
};

TEST_F(Files, are_replaced)
{
    const ino_t before = statusOf(f).st_ino;
    EXPECT_EQ(set().status, 0);
    EXPECT_EQ(readFile(f), "k=2\n");
    EXPECT_NE(statusOf(f).st_ino, before);
    EXPECT_EQ(namesIn(dir.path()), Names{"f"});
}

TEST_F(Files, are_not_written_without_a_change)
{
    const struct stat before = statusOf(f);
    EXPECT_EQ(settings(dir.path(), {"set", "f", "", "k", "1"}).status, 0);
    EXPECT_EQ(statusOf(f).st_ino, before.st_ino);
    EXPECT_EQ(statusOf(f).st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}

TEST_F(Files, are_not_created_by_a_mistyped_name)
{
    for (const char* const command : {"set", "append", "prepend", "remove"})
        expectRefusal(settings(dir.path(), {command, "g", "", "k", "2"}), "g: cannot open: No such file or directory");
    expectRefusal(settings(dir.path(), {"list", "g"}), "g: cannot open: No such file or directory");
    expectRefusal(settings(dir.path(), {"set", "d/f", "", "k", "2"}), "d/f: cannot open: No such file or directory");
    EXPECT_EQ(namesIn(dir.path()), Names{"f"});
}

TEST_F(Files, are_created_on_request)
{
    EXPECT_EQ(shell(dir.path(), "umask 026; zk set --create g s k v").status, 0);
    EXPECT_EQ(readFile(dir / "g"), "[s]\nk = v\n");
    EXPECT_EQ(modeOf(dir / "g"), 0640u);

    EXPECT_EQ(settings(dir.path(), {"set", "--create", "h", "s", "k", "a ;b"}).status, 2);
    EXPECT_EQ(settings(dir.path(), {"remove", "--create", "h", "s", "k"}).status, 1);
    EXPECT_EQ(namesIn(dir.path()), (Names{"f", "g"}));
}

TEST_F(Files, keep_a_symbolic_link_and_replace_its_target)
{
    fs::create_directory(dir / "d");
    fs::create_symlink("../f", dir / "d/second");
    fs::create_symlink(dir / "d/second", dir / "first");
    EXPECT_EQ(settings(dir.path(), {"set", "first", "", "k", "2"}).status, 0);
    EXPECT_EQ(readFile(f), "k=2\n");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(f)));
    EXPECT_EQ(fs::read_symlink(dir / "first"), dir / "d/second");
    EXPECT_EQ(fs::read_symlink(dir / "d/second"), "../f");
    EXPECT_EQ(namesIn(dir / "d"), Names{"second"});
}

// Anybody can put such a link into a directory like /tmp.
TEST_F(Files, are_not_created_where_a_link_leads)
{
    fs::create_symlink("g", dir / "link");
    expectRefusal(settings(dir.path(), {"set", "link", "", "k", "2"}), "link: cannot open: No such file or directory");
    expectRefusal(settings(dir.path(), {"set", "--create", "link", "", "k", "2"}),
        "link: cannot create: the name is a symbolic link to a missing file");
    EXPECT_EQ(namesIn(dir.path()), (Names{"f", "link"}));
}

TEST_F(Files, in_a_circle_of_links_are_refused)
{
    fs::create_symlink("b", dir / "a");
    fs::create_symlink("a", dir / "b");
    expectRefusal(settings(dir.path(), {"set", "--create", "a", "", "k", "2"}),
        "a: cannot open: Too many levels of symbolic links");
}

TEST_F(Files, with_several_hard_links_are_written_in_place)
{
    fs::create_hard_link(f, dir / "g");
    EXPECT_EQ(settings(dir.path(), {"set", "f", "", "k", "longer"}).status, 0);
    EXPECT_EQ(readFile(dir / "g"), "k=longer\n");
    EXPECT_EQ(settings(dir.path(), {"set", "f", "", "k", ""}).status, 0);
    EXPECT_EQ(readFile(dir / "g"), "k=\n");
    EXPECT_EQ(fs::hard_link_count(f), 2u);
}

TEST_F(Files, in_a_read_only_folder_are_written_in_place)
{
    fs::permissions(f, fs::perms(0666));
    fs::permissions(dir.path(), fs::perms(0555));
    const ino_t before = statusOf(f).st_ino;
    EXPECT_EQ(errorAsOrdinaryUser("zk set f '' k 2"), "");
    EXPECT_EQ(readFile(f), "k=2\n");
    EXPECT_EQ(statusOf(f).st_ino, before);
    fs::permissions(dir.path(), fs::perms(0777));
}

TEST_F(Files, without_write_permission_are_refused)
{
    fs::permissions(f, fs::perms(0444));
    EXPECT_EQ(errorAsOrdinaryUser("zk set f '' k 2"), "zk_settings: f: cannot write: Permission denied\n");
    fs::permissions(f, fs::perms(0666));
    fs::permissions(dir.path(), fs::perms(0555));
    EXPECT_EQ(errorAsOrdinaryUser("zk set --create g '' k 2"),
        "zk_settings: g: cannot create a file in " + dir.path() + ": Permission denied\n");
    EXPECT_EQ(readFile(f), "k=1\n");
    fs::permissions(dir.path(), fs::perms(0777));
}

TEST_F(Files, of_another_owner_are_written_in_place)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can make a file of another owner");
    fs::permissions(f, fs::perms(0666));
    const ino_t before = statusOf(f).st_ino;
    EXPECT_EQ(errorAsOrdinaryUser("zk set f '' k 2"), "");
    EXPECT_EQ(readFile(f), "k=2\n");
    EXPECT_EQ(statusOf(f).st_ino, before);
    EXPECT_EQ(statusOf(f).st_uid, 0u);
    EXPECT_EQ(namesIn(dir.path()), Names{"f"});
}

TEST_F(Files, keep_their_owner_group_and_mode)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can make a file of another owner");
    EXPECT_EQ(chown(f.c_str(), 65534, 12345), 0);
    fs::permissions(f, fs::perms(0640));
    EXPECT_EQ(set().status, 0);
    EXPECT_EQ(statusOf(f).st_uid, 65534u);
    EXPECT_EQ(statusOf(f).st_gid, 12345u);
    EXPECT_EQ(modeOf(f), 0640u);
}

// The mode is the same as after a write by the shell.
TEST_F(Files, keep_set_user_id_bits_where_a_write_does)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can act as two users");
    for (const char* const name : {"f", "plain"}) {
        writeFile(dir / name, "k=1\n");
        EXPECT_EQ(chown((dir / name).c_str(), 65534, 65534), 0);
        EXPECT_EQ(chmod((dir / name).c_str(), 06755), 0);
    }
    EXPECT_EQ(shell(dir.path(), "zk set f '' k 2 && echo >>plain").status, 0);
    EXPECT_EQ(modeOf(f), 06755u);
    EXPECT_EQ(modeOf(f), modeOf(dir / "plain"));
    EXPECT_EQ(errorAsOrdinaryUser("zk set f '' k 3 && echo >>plain"), "");
    EXPECT_EQ(modeOf(f), 0755u);
    EXPECT_EQ(modeOf(f), modeOf(dir / "plain"));
}

TEST_F(Files, keep_their_extended_attributes)
{
    const std::string value("a\0b", 3);
    if (setxattr(f.c_str(), "user.note", value.data(), value.size(), 0) != 0)
        SKIP_OR_FAIL("this file system has no extended attributes");
    const ino_t before = statusOf(f).st_ino;
    EXPECT_EQ(set().status, 0);
    EXPECT_NE(statusOf(f).st_ino, before);
    char found[8];
    const ssize_t size = getxattr(f.c_str(), "user.note", found, sizeof found);
    EXPECT_EQ(std::string(found, std::size_t(std::max<ssize_t>(size, 0))), value);
}

TEST_F(Files, keep_their_access_control_list)
{
    if (shell(dir.path(), "setfacl -m u:65534:rw,g:12345:r f && setfacl -d -m u:12345:rwx .").status != 0)
        SKIP_OR_FAIL("no setfacl here, or no ACLs");
    writeFile(dir / "g", "k=1\n");
    EXPECT_EQ(shell(dir.path(), "setfacl -b g").status, 0);
    const std::string before = shell(dir.path(), "getfacl f g").out;
    ASSERT_NE(before.find(":rw-"), std::string::npos);
    const ino_t inode = statusOf(dir / "g").st_ino;
    EXPECT_EQ(shell(dir.path(), "zk set f '' k 2 && zk set g '' k 2 && getfacl f g").out, before);
    EXPECT_EQ(readFile(dir / "g"), "k=2\n");
    EXPECT_NE(statusOf(dir / "g").st_ino, inode);
}

TEST_F(Files, on_which_another_file_system_is_mounted_are_written_in_place)
{
    withPrivateMounts([this] {
        writeFile(dir / "g", "k=0\n");
        ASSERT_EQ(mount(f.c_str(), (dir / "g").c_str(), "none", MS_BIND, nullptr), 0);
        EXPECT_EQ(settings(dir.path(), {"set", "g", "", "k", "2"}).err, "");
        EXPECT_EQ(readFile(f), "k=2\n");
        EXPECT_EQ(namesIn(dir.path()), (Names{"f", "g"}));
    });
}

TEST_F(Files, lose_the_temporary_file_of_a_killed_edit)
{
    writeFile(dir / ".f.zk_settings-0123456789abcdef", "half");
    const Names others = {".f.zk_settings-0123456789abcde", ".f.zk_settings-0123456789abcdef.old",
        ".g.zk_settings-0123456789abcdef", ".g.zk_settings-0123456789abcdef.new", "a.f.zk_settings-0123456789abcde",
        "f"};
    for (const std::string& name : others)
        writeFile(dir / name, "k=1\n");
    EXPECT_EQ(set().err, "");
    EXPECT_EQ(namesIn(dir.path()), others);
}

TEST_F(Files, that_another_program_changes_are_kept)
{
    for (const bool isLinked : {false, true}) {
        if (isLinked)
            fs::create_hard_link(f, dir / "g");
        try {
            editFile(f, {0s}, [this](const std::string&) {
                writeFile(f, "k=other\n");
                return "k=2\n";
            });
            ADD_FAILURE() << "it was replaced";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.text, "cannot replace: another program has changed it");
        }
        EXPECT_EQ(readFile(f), "k=other\n");
        EXPECT_EQ(namesIn(dir.path()), isLinked ? (Names{"f", "g"}) : Names{"f"});
        writeFile(f, "k=1 \n");
    }
}

// A disk of 64 KiB with the file "f", which nearly fills it.
class FullDisk : public Files
{
protected:
    void onIt(const std::function<void()>& action) const
    {
        withPrivateMounts([&] {
            ASSERT_EQ(mount("tmpfs", dir.path().c_str(), "tmpfs", 0, "size=64k"), 0);
            writeFile(f, before);
            action();
        });
    }

    const std::string before = "k=1\n" + std::string(40000, 'x') + '\n';
};

TEST_F(FullDisk, keeps_the_file)
{
    onIt([this] {
        expectRefusal(set(), "f: cannot write: No space left on device");
        EXPECT_EQ(readFile(f), before);
        EXPECT_EQ(namesIn(dir.path()), Names{"f"});
    });
}

TEST_F(FullDisk, keeps_the_file_that_would_grow_in_place)
{
    onIt([this] {
        fs::create_hard_link(f, dir / "g");
        expectRefusal(settings(dir.path(), {"set", "f", "", "k", std::string(50000, 'v')}),
            "f: cannot write: No space left on device");
        EXPECT_EQ(readFile(f), before);
        EXPECT_EQ(set().status, 0) << "an edit that needs no space";
    });
}

TEST_F(FullDisk, creates_no_file)
{
    onIt([this] {
        expectRefusal(settings(dir.path(), {"set", "--create", "g", "", "k", std::string(50000, 'v')}),
            "g: cannot write: No space left on device");
        EXPECT_EQ(namesIn(dir.path()), Names{"f"});
    });
}

TEST_F(Files, stay_below_the_size_limit)
{
    const std::vector<std::string> limited = {"prlimit", "--fsize=100000", ZK_SETTINGS, "set", f, "", "k"};
    for (const bool isLinked : {false, true}) {
        if (isLinked)
            fs::create_hard_link(f, dir / "g");
        std::vector<std::string> command = limited;
        command.push_back(std::string(120'000, 'v'));
        expectRefusal(run(command), f + ": cannot write: File too large");
        EXPECT_EQ(readFile(f), "k=1\n");
    }
}

TEST_F(Files, of_100_megabytes_are_edited)
{
    const Finished finished = shell(dir.path(), "yes key=$(seq -s ' ' 80) | head -c 100000000 >large\n"
                                                "{ cat large; printf '\n[s]\nk=1'; } >f\n"
                                                "zk set f s k 2\n"
                                                "{ cat large; printf '\n[s]\nk=2'; } | cmp - f");
    EXPECT_EQ(finished.status, 0) << finished.out << finished.err;
}

TEST_F(Files, that_are_not_regular_are_refused)
{
    fs::create_directory(dir / "d");
    EXPECT_EQ(mkfifo((dir / "fifo").c_str(), 0666), 0);
    expectRefusal(settings(dir.path(), {"set", "d", "", "k", "2"}), "d: cannot edit: not a regular file");
    expectRefusal(settings(dir.path(), {"set", "fifo", "", "k", "2"}), "fifo: cannot edit: not a regular file");
    EXPECT_TRUE(fs::is_fifo(dir / "fifo"));
}

// If the device were taken for a file, it could not be replaced: another file system is mounted here.
TEST_F(Files, that_are_devices_are_refused)
{
    withPrivateMounts([this] {
        ASSERT_EQ(mount("/dev/null", f.c_str(), "none", MS_BIND, nullptr), 0);
        expectRefusal(set(), "f: cannot edit: not a regular file");
    });
}

TEST_F(Files, may_be_pipes_to_read_from)
{
    const Finished finished = shell(dir.path(), "mkfifo p q; cat f >p & zk get p '' k; cat f >q & zk get q '' k");
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(finished.out, "1\n1\n");
    EXPECT_EQ(shell(dir.path(), "zk get /dev/stdin '' k <f; zk set /dev/fd/5 '' k 2 5<f").out, "1\nk=2\n");
    EXPECT_EQ(readFile(f), "k=1\n");
}

TEST_F(Files, without_end_are_read_up_to_a_nul_byte)
{
    const Finished finished = run({"timeout", "10", ZK_SETTINGS, "get", "/dev/zero", "", "k"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_EQ(finished.err, "zk_settings: /dev/zero:1: a NUL byte: not a settings file\n");
}

#ifndef __SANITIZE_ADDRESS__ // which needs /proc, and more address space than any limit
TEST_F(Files, larger_than_the_memory_are_reported_with_their_name)
{
    const Finished finished =
        shell(dir.path(), "mkfifo p; yes k=1 >p & ulimit -v 500000; timeout 60 " ZK_SETTINGS " get p '' k");
    EXPECT_EQ(finished.status, 2);
    EXPECT_EQ(finished.err, "zk_settings: p: out of memory\n");
}

// The loader finds no library beside the program then.
TEST_F(Files, without_proc_are_edited_in_all_dialects_but_that_of_the_library)
{
    const std::string path = fs::path(KQSUPPORT_LIBRARY).parent_path();
    withPrivateMounts([&] {
        ASSERT_EQ(setenv("LD_LIBRARY_PATH", path.c_str(), 1), 0);
        ASSERT_EQ(mount("tmpfs", "/proc", "tmpfs", 0, nullptr), 0);
        EXPECT_EQ(set().err, "");
        EXPECT_EQ(readFile(f), "k=2\n");
        expectRefusal(
            settings(dir.path(), {"get", "--dialect", "store", "f", "", "k"}), "f: cannot read without /proc");
    });
}
#endif

TEST_F(Files, with_a_planted_temporary_file_or_folder_are_edited)
{
    fs::create_directory(dir / ".f.zk_settings-0123456789abcdef");
    fs::create_symlink("/etc/hostname", dir / ".f.zk_settings-1123456789abcdef.new");
    EXPECT_EQ(set().err, "");
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Files, that_an_interrupted_edit_may_have_damaged_are_refused)
{
    writeFile(dir / ".f.zk_settings-0123456789abcdef.new", "k=new\n");
    expectRefusal(set(), "f: cannot edit: an interrupted edit may have damaged it; copy " + dir.path() +
                             "/.f.zk_settings-0123456789abcdef.new to it, or remove that file");
    EXPECT_EQ(readFile(f), "k=1\n");
    writeFile(f, "k=new\n");
    EXPECT_EQ(set().err, "");
    EXPECT_EQ(namesIn(dir.path()), Names{"f"});
}

TEST_F(Files, with_a_planted_copy_of_another_user_are_edited)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can make a file of another owner");
    const std::string planted = dir / ".f.zk_settings-0123456789abcdef.new";
    writeFile(planted, "k=planted\n");
    EXPECT_EQ(chown(planted.c_str(), 65534, 65534), 0);
    EXPECT_EQ(set().err, "");
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Files, with_a_copy_that_root_has_left_are_refused)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can act as two users");
    writeFile(dir / ".f.zk_settings-0123456789abcdef.new", "k=root\n");
    EXPECT_EQ(chown(f.c_str(), 65534, 65534), 0);
    fs::permissions(f, fs::perms(0666));
    fs::permissions(dir.path(), fs::perms(0777));
    EXPECT_NE(
        errorAsOrdinaryUser("zk set f '' k 2").find("an interrupted edit may have damaged it"), std::string::npos);
    EXPECT_EQ(readFile(f), "k=1\n");
}

TEST_F(Files, in_a_folder_that_cannot_be_read_are_replaced)
{
    if (geteuid() != 0)
        SKIP_OR_FAIL("only root can act as two users");
    fs::permissions(f, fs::perms(0666));
    fs::permissions(dir.path(), fs::perms(0733));
    EXPECT_EQ(errorAsOrdinaryUser("zk set --create ./g '' k 2"),
        "zk_settings: ./g: cannot lock: Bad file descriptor; --no-lock edits without a lock\n");
    EXPECT_EQ(errorAsOrdinaryUser("zk set --create --no-lock g '' k 2 && zk set g '' k 3"), "");
    EXPECT_EQ(readFile(dir / "g"), "k = 3\n");
    EXPECT_EQ(namesIn(dir.path()), (Names{"f", "g"}));
}

// The program waits for the pipe, so its descriptors can be looked at.
TEST_F(Files, never_get_the_number_of_a_closed_standard_descriptor)
{
    const Finished finished = shell(dir.path(), "mkfifo p\n"
                                                "'" ZK_SETTINGS "' get p '' k <&- >&- 2>&- & zk=$!\n"
                                                "exec 3>p; readlink /proc/$zk/fd/0 /proc/$zk/fd/1 /proc/$zk/fd/2\n"
                                                "exec 3>&-; wait $zk");
    EXPECT_EQ(finished.out, "/dev/null\n/dev/null\n/dev/null\n");
}

struct Output
{
    const char* name;
    const char* line;
    const char* text; // in the file "log", or on standard error
};

class Outputs : public Files, public testing::WithParamInterface<Output>
{
};

class GoodOutputs : public Outputs
{
};

TEST_P(GoodOutputs, are_written_at_their_offset)
{
    writeFile(dir / "log", "old\n");
    const Finished finished = shell(dir.path(), GetParam().line);
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(readFile(dir / "log"), GetParam().text);
    EXPECT_EQ(readFile(f), "k=1\n");
    EXPECT_EQ(namesIn(dir.path()), (Names{"f", "log"}));
}

INSTANTIATE_TEST_SUITE_P(Descriptor, GoodOutputs,
    testing::Values(Output{"filter", "zk set - '' k 2 <f | zk set - '' k 3 >>log", "old\nk=3\n"},
        Output{"between", "{ echo a; zk set - '' k 2 <f; echo b; } >log", "a\nk=2\nb\n"}),
    rowName);

class BadOutputs : public Outputs
{
};

TEST_P(BadOutputs, are_reported)
{
    const Finished finished = shell(dir.path(), GetParam().line);
    EXPECT_EQ(finished.status, 2);
    EXPECT_EQ(finished.err, GetParam().text + std::string("\n"));
    EXPECT_EQ(readFile(f), "k=1\n");
    EXPECT_EQ(namesIn(dir.path()), Names{"f"});
}

INSTANTIATE_TEST_SUITE_P(Descriptor, BadOutputs,
    testing::Values(Output{"closed_for_get", "zk get f '' k >&-",
                        "zk_settings: standard output: cannot write: Bad file descriptor"},
        Output{"closed_for_set", "zk set - '' k 2 <f >&-",
            "zk_settings: standard output: cannot write: Bad file descriptor"},
        Output{"closed_for_help", "zk --help >&-", "zk_settings: standard output: cannot write: Bad file descriptor"},
        Output{"closed_input", "zk set - '' k 2 <&-", "zk_settings: -: cannot read: Bad file descriptor"},
        Output{
            "full", "zk get f '' k >/dev/full", "zk_settings: standard output: cannot write: No space left on device"},
        Output{"full_for_set", "zk set - '' k 2 <f >/dev/full",
            "zk_settings: standard output: cannot write: No space left on device"}),
    rowName);

// The test takes the lock in place of another edit.
class Locks : public Files
{
protected:
    int hold() const
    {
        const int file = open(f.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(flock(file, LOCK_EX), 0);
        return file;
    }
};

TEST_F(Locks, are_waited_for_no_longer_than_requested)
{
    const int file = hold();
    expectRefusal(settings(dir.path(), {"set", "--wait", "0", "f", "", "k", "2"}),
        "f: cannot lock: another process is editing it; --wait waits longer");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(settings(dir.path(), {"set", "--wait", "1", "f", "", "k", "2"}).status, 2);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(readFile(f), "k=1\n");
    close(file);
}

// Anyone who can read the directory can lock it.
TEST_F(Locks, are_not_needed_to_miss_a_file)
{
    const Finished finished = shell(dir.path(), "flock . timeout 5 " ZK_SETTINGS " set missing '' k 2");
    EXPECT_EQ(finished.err, "zk_settings: missing: cannot open: No such file or directory\n");
    EXPECT_EQ(finished.status, 2);
}

TEST_F(Locks, are_not_taken_without_a_request)
{
    const int file = hold();
    EXPECT_EQ(settings(dir.path(), {"set", "--no-lock", "f", "", "k", "2"}).err, "");
    EXPECT_EQ(readFile(f), "k=2\n");
    close(file);
}

TEST_F(Locks, end_with_their_process)
{
    const Finished finished =
        shell(dir.path(), "flock f sleep 0.5 & sleep 0.2; zk set --wait 0 f '' k 3; zk set f '' k 2");
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.err, "zk_settings: f: cannot lock: another process is editing it; --wait waits longer\n");
    EXPECT_EQ(readFile(f), "k=2\n");
}

TEST_F(Locks, do_not_block_readers)
{
    const int file = hold();
    EXPECT_EQ(settings(dir.path(), {"get", "f", "", "k"}).out, "1\n");
    EXPECT_EQ(settings(dir.path(), {"list", "f", ""}).out, "k\n");
    close(file);
}

} // namespace
