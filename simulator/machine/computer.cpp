#include "machine/computer.h"

#include "common/badinput.h"

#include <QDir>
#include <QFileInfo>

namespace {

/// Links are not followed again in the computer, where they would lead elsewhere.
QString folderIn(const QString& folder, const char* name)
{
    QString path = QFileInfo(QDir(folder).filePath(QLatin1String(name))).canonicalFilePath();
    if (path.isEmpty())
        throw BadInput(QStringLiteral("%1 is no board; scripts/board makes one").arg(folder));
    return path;
}

/// A computer has folders of its own there.
void refuseHidden(const QString& path)
{
    for (const char* folder : {"/dev/", "/media/", "/opt/", "/proc/", "/run/", "/sys/"})
        if (path.startsWith(QLatin1String(folder)))
            throw BadInput(
                QStringLiteral("%1: a machine has a %2 of its own, where it cannot find this")
                    .arg(path, QLatin1String(folder)));
}

} // namespace

Computer Computer::desk()
{
    Computer computer;
    computer.emulator = QStringLiteral("qemu-system-x86_64");
    computer.emulator_package = QStringLiteral("qemu-system-x86");
    computer.machine = QStringLiteral("q35");
    computer.processor = QStringLiteral("qemu64");
    computer.processors = 2;
    computer.memory_mebibytes = 1024;
    computer.accelerator = QStringLiteral("tcg,thread=multi");
    computer.console = QStringLiteral("ttyS0");
    // A busy machine emulates too few of the ticks with which this kernel tries its timer.
    computer.kernel_options = QStringLiteral("no_timer_check");
    computer.root = QStringLiteral("/");
    computer.kernel_package = QStringLiteral("linux-image-amd64");
    return computer;
}

Computer Computer::board(const QString& folder)
{
    Computer computer;
    computer.emulator = QStringLiteral("qemu-system-arm");
    computer.emulator_package = QStringLiteral("qemu-system-arm");
    // Without memory beyond 4 GiB: there this processor's kernel does not look for the PCI bus.
    computer.machine = QStringLiteral("virt,highmem=off");
    computer.processor = QStringLiteral("cortex-a7");
    computer.processors = 1;
    computer.memory_mebibytes = 128;
    computer.accelerator = QStringLiteral("tcg,thread=multi");
    computer.console = QStringLiteral("ttyAMA0");
    computer.root = folderIn(folder, "root");
    computer.kernel_package = QStringLiteral("linux-image-armmp");
    computer.program_folder = folderIn(folder, "program");
    return computer;
}

Computer Computer::measured() const
{
    Computer computer = *this;
    computer.processors = 1;
    computer.accelerator = QStringLiteral("tcg,thread=single");
    computer.instruction_clock = QStringLiteral("shift=1");
    return computer;
}

QString Computer::pathOf(const QString& file) const
{
    const QString path = QFileInfo(file).canonicalFilePath();
    for (const QString& folder : {program_folder, root}) {
        const QString below =
            folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
        if (folder.isEmpty() || !path.startsWith(below))
            continue;
        QString there = QLatin1Char('/') + path.mid(below.size());
        refuseHidden(there);
        return there;
    }
    throw BadInput(QStringLiteral("%1: the machine has no such file").arg(file));
}
