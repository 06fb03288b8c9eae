#pragma once

#include "site/station.h"

#include <functional>
#include <optional>

class MachineReport;
class VirtualMachine;

/// The station in a computer of its own: it starts when that is up and its pods are known there,
/// and the computer is switched off when it ends.
class MachineStation : public Station
{
    Q_OBJECT

public:
    /// Machine and report must outlive it; collect is called when the machine is off, before the
    /// station is said to have ended, and may throw BadInput.
    MachineStation(VirtualMachine& machine, MachineReport& report, std::function<void()> collect,
                   const QString& log_path, bool echo);

    void start() override;
    void kill() override;
    void terminate() override;
    void setClock(const QDateTime& time) override;
    void leaveRoom(qint64 bytes) override;
    bool running() const override;
    std::optional<int> podThreads() const override;
    std::optional<bool> stickMounted() const override;
    qint64 bytesOf(const QString& name) const override;

private:
    void startProgram();
    void tell(const QString& command);
    void noteTrouble(const QString& what);
    void tellHowFar();
    void endRun();

    VirtualMachine& m_machine;
    MachineReport& m_report;
    std::function<void()> m_collect;
    bool m_program_started = false;
    bool m_killed = false;
    std::optional<int> m_program_exit_code;
};
