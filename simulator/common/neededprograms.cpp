#include "common/neededprograms.h"

#include "common/badinput.h"

#include <QStandardPaths>
#include <QStringList>

#include <vector>

namespace {

struct NeededProgram
{
    const char* name;
    const char* debian_package;
};

const std::vector<NeededProgram>& neededPrograms(bool machine)
{
    static const std::vector<NeededProgram> in_private_root{{"bwrap", "bubblewrap"},
                                                            {"socat", "socat"}};
    static const std::vector<NeededProgram> in_machine{{"busybox", "busybox-static"},
                                                       {"modprobe", "kmod"},
                                                       {"udevadm", "udev"},
                                                       {"mke2fs", "e2fsprogs"},
                                                       {"sfdisk", "fdisk"},
                                                       {"mkfs.vfat", "dosfstools"},
                                                       {"mcopy", "mtools"}};
    return machine ? in_machine : in_private_root;
}

bool isInstalled(const QString& program)
{
    const QStringList of_administrators{QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")};
    return !QStandardPaths::findExecutable(program).isEmpty() ||
           !QStandardPaths::findExecutable(program, of_administrators).isEmpty();
}

} // namespace

void needProgram(const QString& program, const QString& debian_package)
{
    if (!isInstalled(program))
        throw BadInput(QStringLiteral("%1 is not installed: it is in the Debian package %2")
                           .arg(program, debian_package));
}

void needPrograms(bool machine)
{
    for (const NeededProgram& program : neededPrograms(machine))
        needProgram(QLatin1String(program.name), QLatin1String(program.debian_package));
}
