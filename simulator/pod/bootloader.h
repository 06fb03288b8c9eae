#pragma once

#include "pod/objectstore.h"
#include "pod/podfault.h"
#include "pod/slipframing.h"

#include <QByteArray>

#include <deque>

/// How a bootloader is made.
struct BootloaderSettings
{
    quint16 mtu_bytes = 131; ///< longest frame that it takes, escapes and end byte included
    ObjectLimits limits;
    /// Of the object after those in the flash, as when only the host was restarted.
    QByteArray half_received;
    PodFault fault = PodFault::None;
    quint32 disconnect_at_byte = 0; ///< of the image; 0: in its middle. For DisconnectAtByte
};

/// What a bootloader has seen so far.
struct BootloaderReport
{
    quint64 bus_bytes = 0;       ///< sent to it, framing and requests included
    quint64 image_bytes = 0;     ///< of the image, accepted
    quint32 resumed_at_byte = 0; ///< where the image stood when the host first asked
    RefusalCounts refusals{};
};

/// The bootloader of one pod without its bus: SLIP frames in, SLIP frames out, one a transfer. Not
/// thread-safe; owned by its pod. What it cannot do, it refuses, counts, and stays ready.
/// The protocol is that of docs/protocols.md; a refusal answers a write as well.
class Bootloader
{
public:
    Bootloader(BootloaderSettings settings, PodFlash flash);

    const BootloaderReport& report() const { return m_report; }
    const PodFlash& flash() const { return m_store.flash(); }
    /// The whole image is there: it restarts once its last reply has been taken.
    bool finished() const { return m_store.complete(); }
    /// A fault made it leave.
    bool disconnected() const { return m_disconnected; }

    /// It is to be the one that starts when the pod restarts.
    void enter() { m_store.setInBootloader(); }
    /// The pod restarts: what was in memory is gone.
    void powerUp();
    void receive(const QByteArray& from_host);
    int nextTransferBytes(int at_most_bytes) const;
    int send(char* out, int at_most_bytes);

private:
    enum class Request : char {
        Create = 0x01,
        SetReceipts = 0x02,
        Checksum = 0x03,
        Execute = 0x04,
        Select = 0x06,
        GetMtu = 0x07,
        Write = 0x08
    };
    void serve(const SlipFrame& frame);
    void create(const QByteArray& arguments);
    void setReceipts(const QByteArray& arguments);
    void answerChecksum();
    void execute();
    void select(const QByteArray& arguments);
    void write(const SlipFrame& frame);
    void accept(Request request, const QByteArray& payload = {});
    void refuse(Request request, Refusal refusal);
    void judge(Request request, const ObjectStore::Verdict& verdict);
    void reply(Request request, const QByteArray& result_and_payload);
    void leaveIfDue();
    bool strikes(PodFault fault);

    BootloaderSettings m_settings;
    ObjectStore m_store;
    SlipDecoder m_decoder;
    std::deque<QByteArray> m_transfers; ///< replies on their way to the host
    QByteArray m_last_frame;
    BootloaderReport m_report;
    int m_receipt_every = 0; ///< writes; 0: never
    int m_writes_since_receipt = 0;
    bool m_selected_data = false;
    bool m_struck = false; ///< a fault that happens once has happened
    bool m_endless = false;
    bool m_disconnected = false;
};
