#include "fuzz/scriptedbus.h"

#include "downloader/podprotocol.h"
#include "fuzz/fuzzing.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMostTransfers = 200;
constexpr uint8_t kFails = 0xFF;
constexpr uint8_t kRightDigest = 0xFE;
constexpr int kSizeBytes = 4;

/// What a read of the station's is for.
enum class Field { Other, Size, Data, Digest };

class Bus
{
public:
    Bus() = default;
    explicit Bus(const QByteArray& script)
        : m_script(script)
    {
    }

    bool exhausted() const { return m_at >= m_script.size() || m_transfers >= kMostTransfers; }
    void allowErasing() { m_erasing_allowed = true; }
    const scriptedbus::Readout& readout() const { return m_readout; }

    void command(uint8_t byte)
    {
        const bool read = byte == podprotocol::kReadData;
        const bool erase = byte == podprotocol::kErase;
        fuzzing::require(read || erase || byte == podprotocol::kReadUdid ||
                         byte == podprotocol::kChargeStatus);
        fuzzing::require(!erase || m_erasing_allowed);
        m_reading_out = read;
        m_reads = 0;
        if (read)
            m_readout = {m_readout.attempts + 1, 0, {}, {}};
    }

    /// The bytes moved, -1 when the transfer fails.
    int read(unsigned char* buffer, int length_bytes)
    {
        const Field field = nextField();
        const int moved = answer(buffer, length_bytes);
        if (moved >= 0)
            note(field, buffer, length_bytes);
        return moved;
    }

private:
    Field nextField()
    {
        ++m_reads;
        if (!m_reading_out || m_reads == 1)
            return Field::Other;
        if (m_reads == 2)
            return Field::Size;
        const bool whole = quint32(m_readout.data.size()) >= m_readout.announced_bytes;
        return whole ? Field::Digest : Field::Data;
    }

    int answer(unsigned char* buffer, int length_bytes)
    {
        if (exhausted())
            return -1;
        ++m_transfers;
        const auto how = uint8_t(m_script.at(m_at++));
        if (how == kFails)
            return -1;
        const QByteArray bytes =
            how == kRightDigest
                ? QCryptographicHash::hash(m_readout.data, QCryptographicHash::Sha256)
                : m_script.mid(m_at, std::min(int(how), length_bytes));
        if (how != kRightDigest)
            m_at += bytes.size();
        const int moved = std::min(bytes.size(), length_bytes);
        std::memcpy(buffer, bytes.constData(), size_t(moved));
        return moved;
    }

    void note(Field field, const unsigned char* buffer, int length_bytes)
    {
        const QByteArray bytes = fuzzing::bytesOf(buffer, size_t(length_bytes));
        if (field == Field::Size && length_bytes == kSizeBytes)
            m_readout.announced_bytes = qFromBigEndian<quint32>(buffer);
        else if (field == Field::Data)
            m_readout.data += bytes;
        else if (field == Field::Digest)
            m_readout.digest = bytes;
    }

    QByteArray m_script;
    int m_at = 0;
    int m_transfers = 0;
    int m_reads = 0; ///< since the last command
    bool m_reading_out = false;
    bool m_erasing_allowed = false;
    scriptedbus::Readout m_readout;
};

Bus& bus()
{
    static Bus the_bus;
    return the_bus;
}

} // namespace

namespace scriptedbus {

void begin(const QByteArray& script)
{
    bus() = Bus(script);
}

bool exhausted()
{
    return bus().exhausted();
}

void allowErasing()
{
    bus().allowErasing();
}

const Readout& readout()
{
    return bus().readout();
}

} // namespace scriptedbus

// What the program finds instead of the library's own.
extern "C" {

int libusb_open(libusb_device* /*dev*/, libusb_device_handle** handle)
{
    static char nothing;
    *handle = reinterpret_cast<libusb_device_handle*>(&nothing);
    return LIBUSB_SUCCESS;
}

void libusb_close(libusb_device_handle* /*handle*/) {}

int libusb_kernel_driver_active(libusb_device_handle* /*handle*/, int /*interface*/)
{
    return 0;
}

int libusb_claim_interface(libusb_device_handle* /*handle*/, int /*interface*/)
{
    return LIBUSB_SUCCESS;
}

int libusb_release_interface(libusb_device_handle* /*handle*/, int /*interface*/)
{
    return LIBUSB_SUCCESS;
}

int libusb_attach_kernel_driver(libusb_device_handle* /*handle*/, int /*interface*/)
{
    return LIBUSB_SUCCESS;
}

int libusb_bulk_transfer(libusb_device_handle* /*handle*/, unsigned char endpoint,
                         unsigned char* data, int length, int* transferred, unsigned /*timeout*/)
{
    if ((endpoint & LIBUSB_ENDPOINT_IN) == 0) {
        bus().command(*data);
        *transferred = length;
        return LIBUSB_SUCCESS;
    }
    const int moved = bus().read(data, length);
    *transferred = std::max(moved, 0);
    return moved < 0 ? LIBUSB_ERROR_TIMEOUT : LIBUSB_SUCCESS;
}

} // extern "C"
