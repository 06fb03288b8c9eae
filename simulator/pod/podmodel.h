#pragma once

#include "pod/podfault.h"
#include "pod/recording.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <deque>
#include <functional>

/// How one pod is made.
struct PodSettings
{
    QByteArray udid; ///< 8 bytes
    quint64 seed = 0;
    quint32 size_bytes = 0;
    quint32 bytes_per_second = 1'200'000; ///< 0: as fast as it goes
    int polls_until_charged = 3;          ///< polls answered "charging" before the first "full"
    PodFault fault = PodFault::None;
    quint32 unplug_at_byte = 0; ///< data bytes sent before it leaves, for UnpluggedAtByte
};

/// What a pod has seen so far.
struct PodReport
{
    bool opened = false;
    bool erased = false;
    int readouts_begun = 0;
    int readouts_completed = 0; ///< sent to the last byte of the digest, right or wrong
    quint64 bytes_sent = 0;     ///< recorded data alone, over all read-outs
    int charge_polls = 0;
    bool charged = false;
};

enum class PodEvent { ReadoutBegun, ReadoutCompleted, Erased, Charged, Vanished };

/// One pod without its bus: commands in, answers out, faults included. Not thread-safe; it belongs
/// to the transport that feeds it. Whatever it receives, it answers or stays silent; it never
/// fails.
///
/// | command | answer, one line a transfer                                                   |
/// |---------|-------------------------------------------------------------------------------|
/// | 0x11    | ack 0x0A; 8 identifier bytes                                                  |
/// | 0x14    | ack; 1 byte, 1 while charging, 2 when full                                    |
/// | 0x31    | ack; size N, 4 bytes big-endian; N data bytes; 32 bytes SHA-256 of the data   |
/// | 0x41    | ack, and the recording is gone                                                |
///
/// Any other command, and one that a fault refuses, is answered 0x15. A command drops what is left
/// of the answer before it.
class PodModel
{
public:
    explicit PodModel(PodSettings settings);

    const PodSettings& settings() const { return m_settings; }
    const PodReport& report() const { return m_report; }
    void setListener(std::function<void(PodEvent)> listener) { m_listener = std::move(listener); }

    /// The station asks for the interface; false when it is refused.
    bool claim();
    bool driverDetaches() const { return m_settings.fault != PodFault::DriverBusy; }

    void receive(const QByteArray& from_station);
    /// Length of the next transfer to a host that asks for `at_most_bytes`; 0 while there is none.
    int nextTransferBytes(int at_most_bytes) const;
    /// Makes that transfer and returns its length.
    int send(char* out, int at_most_bytes);
    /// It has left the bus by itself.
    bool vanished() const { return m_vanished; }

private:
    enum class FieldKind { Fixed, Data, Digest };
    struct Field
    {
        FieldKind kind;
        QByteArray bytes; ///< of a fixed field, and of the digest once it is reached
        quint32 left_bytes;
        bool joins_next; ///< one transfer may run on into the next field
    };

    void execute(char command);
    void answerReadout();
    void answerCharge();
    void answerErase();
    void answer(const QByteArray& bytes);
    void fill(Field& field, char* out, int length_bytes);
    void finishField();
    void leaveIfDue();
    void tell(PodEvent event) const;
    QByteArray digest() const;
    quint32 recordedBytes() const { return m_report.erased ? 0 : m_recording.sizeBytes(); }

    PodSettings m_settings;
    Recording m_recording;
    PodReport m_report;
    std::function<void(PodEvent)> m_listener;
    std::deque<Field> m_output;
    QCryptographicHash m_hash{QCryptographicHash::Sha256};
    quint32 m_data_offset_bytes = 0;
    bool m_short_read_due = false;
    bool m_falls_silent = false; ///< for good, once the output that is left has been sent
    bool m_silent = false;
    bool m_vanished = false;
};
