#pragma once

#include "pod/bootloader.h"
#include "pod/podreport.h"
#include "pod/podsettings.h"
#include "pod/recording.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <deque>
#include <functional>

/// One pod without its bus: commands in, answers out, faults included. Not thread-safe; it belongs
/// to the transport that feeds it. Whatever it receives, it answers or stays silent; it never
/// fails.
///
/// It speaks the protocol of docs/protocols.md, and answers 0x15 to any other command and to one
/// that a fault refuses. In its bootloader, everything it receives is the bootloader's.
class PodModel
{
public:
    explicit PodModel(PodSettings settings);

    const PodSettings& settings() const { return m_settings; }
    PodReport report() const;
    PodMode mode() const { return m_mode; }
    /// What would be left of it if it were unplugged now.
    const PodFlash& flash() const { return m_bootloader.flash(); }
    void setListener(std::function<void(PodEvent)> listener) { m_listener = std::move(listener); }

    /// The station asks for the interface; false when it is refused.
    bool claim();
    bool driverDetaches() const { return m_settings.fault != PodFault::DriverBusy; }
    void setLineState(int state) { m_report.line.state = state; }
    void setLineCoding(const QByteArray& coding) { m_report.line.coding = coding; }

    void receive(const QByteArray& from_station);
    /// Length of the next transfer to a host that asks for `at_most_bytes`; 0 while there is none.
    int nextTransferBytes(int at_most_bytes) const;
    /// Makes that transfer and returns its length.
    int send(char* out, int at_most_bytes);
    /// Not when it has left the bus by itself, for good or to restart.
    bool onBus() const { return m_presence == Presence::OnBus; }
    bool vanished() const { return m_presence == Presence::Gone; }
    /// Pulled in the middle of the transfer, which never arrives; one that leaves after an update
    /// has given its last reply.
    bool leftInTransfer() const { return vanished() && m_mode == PodMode::Normal; }
    /// It is back, in the mode that its flash says.
    void restart();

private:
    enum class Presence { OnBus, Restarting, Gone };
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
    void finishUpdate();
    void leave(Presence presence);
    bool listens() const { return onBus() && !m_silent; }
    void tell(PodEvent event) const;
    QByteArray digest() const;
    quint32 recordedBytes() const { return m_report.erased ? 0 : m_recording.sizeBytes(); }

    PodSettings m_settings;
    Recording m_recording;
    Bootloader m_bootloader;
    PodMode m_mode;
    PodReport m_report;
    std::function<void(PodEvent)> m_listener;
    std::deque<Field> m_output;
    QCryptographicHash m_hash{QCryptographicHash::Sha256};
    quint32 m_data_offset_bytes = 0;
    bool m_short_read_due = false;
    bool m_falls_silent = false; ///< for good, once the output that is left has been sent
    bool m_silent = false;
    Presence m_presence = Presence::OnBus;
};
