#pragma once

#include "common/dependentprocess.h"
#include "machine/machinearguments.h"
#include "machine/machinekernel.h"
#include "machine/machineshell.h"
#include "machine/qmpclient.h"
#include "machine/stickport.h"
#include "usbredir/podports.h"
#include "usbredir/redirport.h"

#include <QObject>
#include <QTemporaryDir>

/// A station's computer, emulated whole: a stock kernel on a root of this machine's, which it
/// cannot change, with the station's disk, screen, hubs and places. It can be started again and
/// again. Lives on the main thread, owned by the bench, whose end is the machine's too, however the
/// bench ends. Throws BadInput when it cannot be made; what goes wrong later is told by troubled().
class VirtualMachine : public QObject
{
    Q_OBJECT

public:
    /// The station's program is a file of this machine.
    explicit VirtualMachine(MachineSettings settings);
    Q_DISABLE_COPY_MOVE(VirtualMachine)
    ~VirtualMachine() override;

    void start();
    /// As a loss of power: nothing in the machine is told.
    void cutPower();
    bool running() const { return m_process.state() != QProcess::NotRunning; }

    PodPorts& pods() { return m_pods; }
    MachineShell& shell() { return m_shell; }
    /// Under systemd, by packages.
    bool installsStation() const { return !m_settings.packages.isEmpty(); }
    QString screenSocket() const { return m_folder.filePath(machinefiles::kScreen); }
    QString stickImage() const { return m_settings.stick_image; }
    StickPort& stickPort() { return m_stick_port; }
    /// What the kernel said last.
    QStringList lastConsoleLines(int count) const;

signals:
    /// Of the station, in pieces of any size.
    void output(const QByteArray& text);
    void troubled(const QString& what);
    /// Switched off, by itself or by others.
    void ended();

private:
    MachineSettings m_settings;
    QTemporaryDir m_folder;
    MachineKernel m_kernel;
    PodPorts m_pods;
    RedirPort m_adapter;
    MachineShell m_shell;
    QmpClient m_monitor;
    StickPort m_stick_port;
    DependentProcess m_process;
    QStringList m_arguments;
};
