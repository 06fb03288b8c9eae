// All that a pod may answer to the station. What is handed to the archive is what the digest was
// of, or has failed three times; no pod is told to erase before its recording is kept; nothing
// stays.
#include "main/pod.h"

#include "dfu/podupdater.h"
#include "fuzz/fuzzing.h"
#include "fuzz/scriptedbus.h"
#include "main/progress.h"
#include "system/interruptiblesleep.h"
#include "system/stationpaths.h"
#include "uibackend/uibackend.h"

#include <QCryptographicHash>
#include <QDir>
#include <QRegularExpression>

#include <zlib.h>

using fuzzing::require;

// No update is tried here, and nobody sleeps; a pod that has said all is one that is unplugged.
void PodUpdater::putInDfu(Pod& /*pod*/)
{
    require(false);
}

void PodUpdater::updatePod(Pod& /*pod*/)
{
    require(false);
}

bool sleepUnlessInterrupted(std::chrono::milliseconds /*duration*/)
{
    return !scriptedbus::exhausted();
}

namespace {

constexpr int kAttempts = 3;
constexpr int kIndex = 7;

/// How a pod's task has ended.
struct Outcome
{
    QString path; ///< of the recording that was handed over
    bool empty = false;
    bool failed = false;
    int last_progress = 0;
};

void watch(Pod& pod, Outcome& outcome)
{
    QObject::connect(&pod, &Pod::dataReady, &pod,
                     [&outcome](const QString& path, int) { outcome.path = path; });
    QObject::connect(&pod, &Pod::podEmpty, &pod, [&outcome] { outcome.empty = true; });
    QObject::connect(&pod, &Pod::setSyncProgress, &pod, [&outcome](int idx, int value) {
        require(idx == kIndex && value >= progress::kFailed && value <= progress::kFinished);
        outcome.last_progress = value;
        outcome.failed = outcome.failed || value == progress::kFailed;
    });
}

void requireHandedOver(const Pod& pod, const Outcome& outcome)
{
    static const QRegularExpression name(QStringLiteral("^tmp/[0-9A-F]{15}\\.ozu$"));
    require(name.match(outcome.path).hasMatch());
    const QByteArray content = fuzzing::contentOf(outcome.path);
    const scriptedbus::Readout& readout = scriptedbus::readout();
    require(content == readout.data && quint32(content.size()) == readout.announced_bytes);
    const auto* bytes = reinterpret_cast<const Bytef*>(content.constData());
    require(pod.ticket()->data_crc32 == crc32_z(0, bytes, size_t(content.size())));
    const bool right =
        QCryptographicHash::hash(content, QCryptographicHash::Sha256) == readout.digest;
    require(right || readout.attempts == kAttempts);
    require(outcome.last_progress == (right ? 100 : progress::kWrongDigest));
}

void requireOneEnd(const Pod& pod, const Outcome& outcome)
{
    const quint32 announced_bytes = scriptedbus::readout().announced_bytes;
    require(int(!outcome.path.isEmpty()) + int(outcome.empty) + int(outcome.failed) == 1);
    require(!outcome.empty || announced_bytes == 0 || announced_bytes == 512);
    if (!outcome.path.isEmpty())
        requireHandedOver(pod, outcome);
}

void answer(Pod& pod, bool added)
{
    if (added)
        scriptedbus::allowErasing();
    pod.ticket()->answer.give(added);
    pod.erasePod(added, kIndex);
}

} // namespace

/// The first byte is the controller's answer, the rest the bus's script.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    if (size_bytes < 2)
        return 0;
    require(QDir().mkpath(stationpaths::kWork));
    scriptedbus::begin(fuzzing::bytesOf(data + 1, size_bytes - 1));
    UIBackEnd screen;
    {
        Outcome outcome;
        Pod pod(kIndex, UsbDeviceRef(), screen);
        watch(pod, outcome);
        pod.tasks();
        requireOneEnd(pod, outcome);
        if (!outcome.path.isEmpty())
            answer(pod, data[0] != 0);
    }
    require(QDir(stationpaths::kWork).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
    return 0;
}
