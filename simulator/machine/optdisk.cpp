#include "machine/optdisk.h"

#include "bench/benchfolder.h"
#include "machine/tool.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

namespace {
const QString kSize = QStringLiteral("2G"); // of which the image takes what is written
const QString kStation = QStringLiteral("Corvane");
const QString kLauncher = QStringLiteral("CorvaneLauncher");
} // namespace

OptDisk::OptDisk(const BenchFolder& folder, QString image)
    : m_folder(folder)
    , m_image(std::move(image))
{
    const QTemporaryDir tree;
    const QString copy = QStringLiteral("cp");
    runTool(copy, {QStringLiteral("-a"), folder.station(), tree.filePath(kStation)});
    runTool(copy, {QStringLiteral("-a"), folder.launcher(), tree.filePath(kLauncher)});
    runTool(QStringLiteral("/sbin/mke2fs"),
            {QStringLiteral("-q"), QStringLiteral("-t"), QStringLiteral("ext4"),
             QStringLiteral("-d"), tree.path(), m_image, kSize});
}

void OptDisk::unpack() const
{
    // As the next mount would: what the journal holds belongs to the files. It says by its exit
    // code that it had something to do.
    QProcess check;
    check.start(QStringLiteral("/sbin/e2fsck"), {QStringLiteral("-p"), QStringLiteral("-E"),
                                                 QStringLiteral("journal_only"), m_image});
    check.waitForFinished(-1);
    for (const auto& [name, folder] :
         {std::pair(kStation, m_folder.station()), std::pair(kLauncher, m_folder.launcher())}) {
        const QTemporaryDir tree(QDir(m_folder.path()).filePath(QStringLiteral("unpacked")));
        runTool(
            QStringLiteral("/sbin/debugfs"),
            {QStringLiteral("-R"), QStringLiteral("rdump /%1 %2").arg(name, tree.path()), m_image});
        QDir(folder).removeRecursively();
        QDir().rename(tree.filePath(name), folder);
    }
}
