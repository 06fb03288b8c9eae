#include "commontools.h"

#include "processusage.h"
#include "system/childprocess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr std::chrono::minutes kToolLimit{3};
constexpr quint32 kBlockBytes = 1 << 20;

QString fileName(const PodSettings& pod)
{
    return QString::fromLatin1(pod.udid.toHex());
}

void writeRecording(const PodSettings& pod, const QString& path)
{
    const Recording recording = pod.recording();
    QFile file(path);
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    for (quint32 at = 0; written && at < pod.size_bytes; at += kBlockBytes) {
        QByteArray block(int(std::min(kBlockBytes, pod.size_bytes - at)), Qt::Uninitialized);
        recording.read(at, block.data(), block.size());
        written = file.write(block) == block.size();
    }
    if (!written)
        throw std::runtime_error("a recording cannot be written");
}

void runTool(const char* program, const QStringList& arguments)
{
    if (ChildProcess::run(QLatin1String(program), arguments, kToolLimit).end !=
        ChildProcess::End::Exited)
        throw std::runtime_error(program);
}

void copyAndPack(const QStringList& files, const QTemporaryDir& folder)
{
    const QString copies = folder.filePath(QStringLiteral("copies"));
    const QString archive = folder.filePath(QStringLiteral("archive.zip"));
    if (!QDir().mkpath(copies))
        throw std::runtime_error("no temporary folder");
    runTool("cp", files + QStringList{copies});
    runTool("zip", QStringList{QStringLiteral("-6"), QStringLiteral("-q"), archive} + files);
    if (!QFile::exists(archive))
        throw std::runtime_error("zip left no archive");
}

} // namespace

double commonToolsCpuSeconds(const std::vector<PodSettings>& pods)
{
    const QTemporaryDir folder;
    QStringList files;
    for (const PodSettings& pod : pods) {
        files += folder.filePath(fileName(pod));
        writeRecording(pod, files.back());
    }
    const double before = processusage::endedChildrenCpuSeconds();
    runTool("sha256sum", files);
    copyAndPack(files, folder);
    return processusage::endedChildrenCpuSeconds() - before;
}

double copyPackAndCompareSeconds(const QStringList& files)
{
    const QTemporaryDir folder;
    QElapsedTimer timer;
    timer.start();
    copyAndPack(files, folder);
    const QDir copies(folder.filePath(QStringLiteral("copies")));
    for (const QString& file : files)
        runTool("cmp", {file, copies.filePath(QFileInfo(file).fileName())});
    return double(timer.elapsed()) / 1000;
}
