// Prints what archives cost, as ratios of figures taken in the same run, in a table for the README
// of this folder. Works in a folder of its own below the current one: give the storage that
// matters.
#include "system/childprocess.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <vector>

namespace {

constexpr int kRecordingBytes = 32 << 20;
constexpr int kRounds = 5;

void require(bool done, const char* what)
{
    if (!done)
        throw std::runtime_error(what);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double secondsOf(const std::function<bool()>& work, const char* what)
{
    QElapsedTimer timer;
    timer.start();
    require(work(), what);
    return double(timer.nsecsElapsed()) / 1e9;
}

bool tool(const QString& program, const QStringList& arguments)
{
    return ChildProcess::run(program, arguments, std::chrono::minutes(5)).end ==
           ChildProcess::End::Exited;
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), "write");
}

/// Two channels of 16-bit samples: slow waves under noise, as an instrument in the field gives
/// them.
QByteArray recording(int bytes)
{
    QByteArray samples(bytes, Qt::Uninitialized);
    QRandomGenerator random(1);
    auto* sample = reinterpret_cast<qint16*>(samples.data());
    for (int i = 0; i < bytes / 2; ++i)
        sample[i] = qint16(3000 * std::sin(i / 500.0) + random.bounded(64));
    return samples;
}

double laterOverFirstAddition()
{
    const QString archive = QStringLiteral("many.cvx");
    write(QStringLiteral("small"), recording(4096));
    require(ZipUtils::createZip(archive), "createZip");
    std::vector<double> times;
    for (int i = 1; i <= 1005; ++i) {
        const QString name = QStringLiteral("%1.ozu").arg(i, 15, 16, QLatin1Char('0'));
        times.push_back(secondsOf(
            [&] { return ZipUtils::addFile(archive, QStringLiteral("small"), name); }, "addFile"));
    }
    return median({times.end() - 11, times.end()}) / median({times.begin(), times.begin() + 11});
}

/// How many times as fast as the tool, by the medians of rounds taken in turn.
double speedOver(const std::function<bool()>& ours, const std::function<bool()>& theirs)
{
    std::vector<double> own;
    std::vector<double> other;
    for (int round = 0; round < kRounds; ++round) {
        own.push_back(secondsOf(ours, "our side"));
        other.push_back(secondsOf(theirs, "the tool"));
    }
    return median(other) / median(own);
}

double packingOverZip()
{
    const QString zip = QStringLiteral("zip.zip");
    const QStringList arguments = {QStringLiteral("-6"), QStringLiteral("-q"), zip,
                                   QStringLiteral("recording")};
    return speedOver(
        [] {
            return ZipUtils::createZip(QStringLiteral("ours.cvx")) &&
                   ZipUtils::addFile(QStringLiteral("ours.cvx"), QStringLiteral("recording"));
        },
        [&] {
            QFile::remove(zip);
            return tool(QStringLiteral("zip"), arguments) && QFile::exists(zip);
        });
}

double unpackingOverUnzip()
{
    const QStringList arguments = {QStringLiteral("-q"), QStringLiteral("-o"),
                                   QStringLiteral("ours.cvx"), QStringLiteral("-d"),
                                   QStringLiteral("unzipped")};
    return speedOver(
        [] { return ZipUtils::extractZip(QStringLiteral("ours.cvx"), QStringLiteral("unpacked")); },
        [&] { return tool(QStringLiteral("unzip"), arguments); });
}

void print(QTextStream& out, const char* what, double ratio, const char* aim)
{
    out << "| " << what << " | " << QString::number(ratio, 'f', 2) << " | " << aim << " |\n";
}

void measure()
{
    write(QStringLiteral("recording"), recording(kRecordingBytes));
    QTextStream out(stdout);
    out << "| what | measured | aim |\n|---|---|---|\n";
    print(out, "the 1000th addition over the 1st (4 KiB files; medians of 11 neighbours)",
          laterOverFirstAddition(), "<= 3");
    print(out, "`createZip`/`addFile` throughput over `zip -6` (32 MiB, median of 5)",
          packingOverZip(), ">= 0.9");
    print(out, "`extractZip` throughput over `unzip` (the same)", unpackingOverUnzip(), ">= 0.9");
}

} // namespace

int main()
{
    const QTemporaryDir folder(QStringLiteral("bench_archive-XXXXXX"));
    try {
        require(QDir::setCurrent(folder.path()), "a folder to work in");
        measure();
    } catch (const std::runtime_error& failure) {
        QTextStream(stderr) << "failed: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
