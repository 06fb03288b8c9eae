#include "stick/medium.h"
#include "stick/operations.h"

#include <QFile>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

// As mount(8) says that it failed.
constexpr int kMountFailure = 32;

struct EndMount
{
    void operator()(fuse* mount) const
    {
        fuse_unmount(mount);
        fuse_destroy(mount);
    }
};
using Mount = std::unique_ptr<fuse, EndMount>;

/// libfuse makes these its own and adds to them.
struct FreeArguments
{
    void operator()(fuse_args* arguments) const { fuse_opt_free_args(arguments); }
};

Mount newMount(Medium& medium)
{
    std::array<char, 14> program{"corvane-stick"};
    std::array<char, 3> option{"-o"};
    std::array<char, 17> device{"fsname=/dev/sda1"};
    std::array<char*, 3> words{program.data(), option.data(), device.data()};
    fuse_args arguments = FUSE_ARGS_INIT(static_cast<int>(words.size()), words.data());
    const std::unique_ptr<fuse_args, FreeArguments> owner(&arguments);
    return Mount(fuse_new(&arguments, &stickOperations(), sizeof(fuse_operations), &medium));
}

} // namespace

/// corvane-stick FOLDER MARK LOG MOUNTPOINT: serves the stick as a file system of its own, in the
/// background, until it is unmounted; returns once it is mounted. What goes wrong later is in LOG.
int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fputs("usage: corvane-stick FOLDER MARK LOG MOUNTPOINT\n", stderr);
        return EXIT_FAILURE;
    }
    Medium medium(QFile::decodeName(argv[1]), QFile::decodeName(argv[2]));
    if (medium.folder() < 0) {
        std::perror(argv[1]);
        return kMountFailure;
    }
    const Mount mount = newMount(medium);
    if (!mount || fuse_mount(mount.get(), argv[4]) != 0)
        return kMountFailure;
    if (fuse_daemonize(0) != 0 || std::freopen(argv[3], "a", stderr) == nullptr)
        return kMountFailure;
    return fuse_loop(mount.get()) == 0 ? EXIT_SUCCESS : kMountFailure;
}
