#include "scenario/podplan.h"

#include "common/badinput.h"
#include "pod/initpacket.h"
#include "pod/replyforecast.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <array>

namespace {

/// Places differ in the second byte, so names never collide by chance.
QByteArray udidFor(int slot, quint64 bench_seed)
{
    std::array<char, 8> bytes{};
    qToBigEndian(bench_seed * 0x9E3779B97F4A7C15ULL, bytes.data());
    bytes[0] = '\xC0';
    bytes[1] = static_cast<char>(slot);
    return {bytes.data(), static_cast<int>(bytes.size())};
}

} // namespace

PodSettings settingsFor(const PodPlan& plan, int home_slot, quint64 bench_seed, int generation)
{
    const std::array<quint32, 4> mixed{
        static_cast<quint32>(bench_seed), static_cast<quint32>(bench_seed >> 32),
        static_cast<quint32>(home_slot), static_cast<quint32>(generation)};
    QRandomGenerator random(mixed.data(), mixed.size());
    PodSettings settings;
    settings.udid = plan.udid.value_or(udidFor(home_slot, bench_seed));
    settings.seed = random.generate64();
    const quint64 choices = quint64(plan.size.max_bytes) - plan.size.min_bytes + 1;
    settings.size_bytes = plan.size.min_bytes + static_cast<quint32>(random.generate64() % choices);
    settings.content = plan.content;
    settings.bytes_per_second = plan.bytes_per_second;
    settings.polls_until_charged = plan.polls_until_charged;
    settings.fault = plan.fault;
    settings.unplug_at_byte = plan.unplug_at_byte;
    // A pod that leaves by itself and was not told where does so in the middle.
    if (plan.fault == PodFault::UnpluggedAtByte && plan.unplug_at_byte == 0)
        settings.unplug_at_byte = settings.size_bytes / 2;
    return settings;
}

void prepareBootloader(PodSettings& settings, const PodPlan& plan,
                       const std::optional<Firmware>& firmware)
{
    settings.flash.firmware_sha256 = InitPacket::describing("as delivered").image_sha256;
    settings.flash.in_bootloader = plan.beginsInBootloader();
    if (!plan.resume_at_byte)
        return;
    if (!firmware || *plan.resume_at_byte > static_cast<quint32>(firmware->image.size()))
        throw BadInput(QStringLiteral("there is no firmware of %1 bytes to be resumed")
                           .arg(*plan.resume_at_byte));
    const auto received = static_cast<int>(*plan.resume_at_byte);
    const auto object_bytes = static_cast<int>(settings.bootloader.limits.data_bytes);
    // A whole image that was executed would be running.
    const int last = received == firmware->image.size() ? received - 1 : received;
    const int executed = last - last % object_bytes;
    settings.flash.init_packet = firmware->init_packet;
    settings.flash.image = firmware->image.left(executed);
    settings.bootloader.half_received = firmware->image.mid(executed, received - executed);
    ObjectStore store(settings.bootloader.limits, settings.flash);
    store.resumeWith(settings.bootloader.half_received);
    if (holdsEscape(store.position(ObjectStore::Type::Data)))
        throw BadInput(
            QStringLiteral("a pod that resumes at byte %1 says 0xDB: take another").arg(received));
}

QString recordingName(const QByteArray& udid)
{
    return QString::fromLatin1(udid.toHex().toUpper().left(15)) + QStringLiteral(".ozu");
}

PodFault faultFromText(const QString& text)
{
    if (const auto fault = podFaultFromName(text.simplified()))
        return *fault;
    throw BadInput(QStringLiteral("'%1' is no fault of a pod").arg(text.simplified()));
}
