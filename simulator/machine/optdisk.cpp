#include "machine/optdisk.h"

#include "common/badinput.h"
#include "common/tool.h"
#include "site/benchfolder.h"

#include <QDir>
#include <QTemporaryDir>

namespace {

const QString kStation = QStringLiteral("Corvane");
const QString kLauncher = QStringLiteral("CorvaneLauncher");
const QString kCopy = QStringLiteral("cp");

/// As a mount does: what the journal holds belongs to the files.
void replayJournal(const QString& image)
{
    constexpr int kRepaired = 1;
    runTool(QStringLiteral("/sbin/e2fsck"),
            {QStringLiteral("-p"), QStringLiteral("-E"), QStringLiteral("journal_only"), image},
            {{}, {}, kRepaired});
}

/// What debugfs complained of; it is the only sign of its failures. Who is not root cannot give the
/// files to their owners, which matters to nobody here.
QStringList failures(const QByteArray& said)
{
    QStringList lines;
    for (const QString& line : QString::fromUtf8(said).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        if (!line.startsWith(QLatin1String("debugfs ")) &&
            !line.contains(QLatin1String("while changing ownership")))
            lines += line;
    return lines;
}

/// Into this folder, whose name debugfs could misread.
void dump(const QString& image, const QString& folder)
{
    const QString command = QStringLiteral("rdump /%1 /%2 .").arg(kStation, kLauncher);
    const ToolResult result = runTool(QStringLiteral("/sbin/debugfs"),
                                      {QStringLiteral("-R"), command, image}, {{}, folder, 0});
    if (const QStringList lines = failures(result.errors); !lines.isEmpty())
        throw BadInput(QStringLiteral("%1: %2").arg(image, lines.join(QStringLiteral(", "))));
}

void replace(const QString& folder, const QString& by)
{
    if (!QDir(folder).removeRecursively() || !QDir().rename(by, folder))
        throw BadInput(QStringLiteral("cannot write %1").arg(folder));
}

} // namespace

OptDisk::OptDisk(const BenchFolder& folder, QString image, quint64 size_bytes)
    : m_folder(folder)
    , m_image(std::move(image))
{
    const QTemporaryDir tree;
    runTool(kCopy, {QStringLiteral("-a"), folder.station(), tree.filePath(kStation)});
    runTool(kCopy, {QStringLiteral("-a"), folder.launcher(), tree.filePath(kLauncher)});
    runTool(QStringLiteral("/sbin/mke2fs"),
            {QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("ext4"),
             QStringLiteral("-b"), QStringLiteral("4096"), QStringLiteral("-d"), tree.path(),
             m_image, QStringLiteral("%1k").arg(size_bytes / 1024)});
}

void OptDisk::unpack() const
{
    const QTemporaryDir work(QDir(m_folder.path()).filePath(QStringLiteral("unpacked")));
    // The disk itself stays as the loss of power left it: its journal is for the machine's kernel.
    const QString copy = work.filePath(QStringLiteral("opt.img"));
    runTool(kCopy, {QStringLiteral("--sparse=always"), m_image, copy});
    extract(copy, work.path());
    replace(m_folder.station(), work.filePath(kStation));
    replace(m_folder.launcher(), work.filePath(kLauncher));
}

void OptDisk::extract(const QString& image, const QString& folder)
{
    replayJournal(image);
    dump(image, folder);
}
