#include "usbfs/ueventsender.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QtEndian>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

/// How udevd begins a message to its listeners; numbers marked so are big-endian.
struct MonitorHeader
{
    std::array<char, 8> prefix{'l', 'i', 'b', 'u', 'd', 'e', 'v', '\0'};
    quint32 magic = qToBigEndian<quint32>(0xFEEDCAFE);
    quint32 header_bytes = sizeof(MonitorHeader);
    quint32 properties_offset_bytes = sizeof(MonitorHeader);
    quint32 properties_bytes = 0;
    quint32 subsystem_hash = 0; ///< big-endian
    quint32 devtype_hash = 0;   ///< big-endian
    quint32 tag_bloom_high = 0;
    quint32 tag_bloom_low = 0;
};

/// MurmurHash2 with seed 0: listeners filter on the hash of a name instead of the name.
quint32 nameHash(const QByteArray& name)
{
    constexpr quint32 kMultiplier = 0x5BD1E995;
    constexpr int kWordBytes = 4;
    auto hash = quint32(name.size());
    int at = 0;
    for (; at + kWordBytes <= name.size(); at += kWordBytes) {
        quint32 word = qFromLittleEndian<quint32>(name.constData() + at) * kMultiplier;
        word = (word ^ (word >> 24)) * kMultiplier;
        hash = hash * kMultiplier ^ word;
    }
    if (at < name.size()) {
        for (int shift = 0; at < name.size(); ++at, shift += 8)
            hash ^= quint32(quint8(name.at(at))) << shift;
        hash *= kMultiplier;
    }
    hash = (hash ^ (hash >> 13)) * kMultiplier;
    return hash ^ (hash >> 15);
}

QByteArray message(QByteArray properties)
{
    properties.replace('\n', '\0');
    MonitorHeader header;
    header.properties_bytes = quint32(properties.size());
    header.subsystem_hash = qToBigEndian(nameHash("usb"));
    header.devtype_hash = qToBigEndian(nameHash("usb_device"));
    return QByteArray(reinterpret_cast<const char*>(&header), sizeof(header)) + properties;
}

UniqueFd connectTo(const QByteArray& path)
{
    UniqueFd fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.constData(), sizeof(address.sun_path));
    if (::connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
        return {};
    const timeval patience{5, 0};
    ::setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    return fd;
}

} // namespace

UeventSender::UeventSender(const QString& testbed_dir)
    : m_dir(testbed_dir)
    , m_watcher({testbed_dir})
{
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &UeventSender::findMonitors);
}

void UeventSender::findMonitors()
{
    const QDir dir(m_dir);
    for (const QString& name : dir.entryList({QStringLiteral("event*")}, QDir::System)) {
        const QByteArray path = QFile::encodeName(dir.filePath(name));
        struct stat status
        {
        };
        if (::stat(path.constData(), &status) != 0)
            continue;
        const std::tuple key(status.st_ino, status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
        if (m_monitors.count(key) > 0)
            continue;
        if (UniqueFd fd = connectTo(path))
            m_monitors.emplace(key, std::move(fd));
    }
}

void UeventSender::send(const char* action, const QString& sysfs_path, const QByteArray& properties)
{
    findMonitors();
    const QByteArray bytes = message(
        "ACTION=" + QByteArray(action) + "\nDEVPATH=" + sysfs_path.toLatin1() +
        "\nSUBSYSTEM=usb\nSEQNUM=" + QByteArray::number(++m_sequence_number) + '\n' + properties);
    for (auto monitor = m_monitors.begin(); monitor != m_monitors.end();) {
        const ssize_t sent =
            ::send(monitor->second.get(), bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL);
        const bool lost = sent < 0 && errno == EAGAIN;
        if (lost)
            qWarning() << "A udev monitor does not read; lost" << action << sysfs_path;
        monitor = sent < 0 && !lost ? m_monitors.erase(monitor) : std::next(monitor);
    }
}
