#include <cerrno>

#include <linux/magic.h>
#include <sys/syscall.h>
#include <sys/vfs.h>

#include "platform/linux/linux_directory_reader.h"
#include "platform/system.h"
#include "tests/platform/linux/machine.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

bool canBeListed(Folder& folder) {
    return folder.list([](const FolderEntry&) { return true; });
}

TEST(LinuxDirectoryReader, BelievesChangeTimesOfTheFoldersOwnDiskOnly) {
    const TemporaryTree tree;
    OwnMounts mounts;
    const auto own = tree.file("own");
    if (!mounts.addDisk(tree.folder("memory")) || !mounts.cover(tree.file("covered"), own)) {
        GTEST_SKIP() << "no mounts of one's own here";
    }
    tree.file("memory/file");
    struct statfs info {};
    ASSERT_EQ(::statfs(own.c_str(), &info), 0);
    const bool isDisk = info.f_type == EXT4_SUPER_MAGIC || info.f_type == OVERLAYFS_SUPER_MAGIC ||
                        info.f_type == XFS_SUPER_MAGIC || info.f_type == BTRFS_SUPER_MAGIC;
    const auto folder = LinuxDirectoryReader().open(tree.path());
    EXPECT_EQ(folder->attributes("own")->changed != 0, isDisk);
    EXPECT_EQ(folder->attributes("covered")->changed, 0);
    EXPECT_EQ(folder->openFolder("memory")->attributes("file")->changed, 0);
}

TEST(LinuxDirectoryReader, DoesNotTakeAFolderThatCannotBeListedForEmpty) {
    const TemporaryTree tree;
    const auto gone = LinuxDirectoryReader().open(tree.folder("gone"));
    fs::remove(tree.at("gone"));
    EXPECT_FALSE(canBeListed(*gone));
    whereCallsFail({SYS_getdents64}, EIO, [&] {
        EXPECT_FALSE(canBeListed(*LinuxDirectoryReader().open(tree.path())));
        EXPECT_EQ(systemFiles()->names(tree.path()), std::nullopt);
    });
}

TEST(LinuxDirectoryReader, OpensTheSameFoldersOnOlderKernels) {
    const TemporaryTree tree;
    tree.file("folder/below/file");
    fs::create_directory_symlink("folder", tree.at("link"));
    for (const int error : {ENOSYS, EPERM}) {
        whereCallsFail({SYS_openat2}, error, [&tree] {
            const auto folder = LinuxDirectoryReader().open(tree.path());
            EXPECT_TRUE(folder->openFolder("folder/below"));
            EXPECT_FALSE(folder->openFolder("link"));
            EXPECT_FALSE(folder->openFolder("link/below"));
            EXPECT_FALSE(folder->openFolder("folder/below/file"));
        });
    }
}

TEST(ItemIdentity, TellsANewFileFromAnOldOneWithItsNumber) {
    const TemporaryTree tree;
    const auto path = tree.file("file");
    struct statx status {};
    ASSERT_EQ(::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
    EXPECT_EQ(systemFiles()->identity(path)->created,
              status.stx_btime.tv_sec * 1'000'000'000LL + status.stx_btime.tv_nsec);
}

}  // namespace
}  // namespace vestigo::test
