#pragma once

#include "i2c/memorychip.h"
#include "machine/machineshell.h"
#include "machine/qmpclient.h"
#include "usbredir/podports.h"
#include "usbredir/redirport.h"

#include <QObject>
#include <QProcess>
#include <QTemporaryDir>

/// How a machine is made.
struct MachineSettings
{
    QString station_program;
    QString opt_image; ///< an ext4 file system, which outlives the machine's power
    QString display = QStringLiteral("none"); ///< as QEMU names it
};

/// A station's computer, emulated whole: a stock kernel on the root of this machine, which it
/// cannot change, with the station's disk, screen, hubs and places. It can be started again and
/// again. Lives on one thread, owned by the bench; the process dies with it. Throws
/// std::runtime_error when it cannot be made; what goes wrong later is told by failed().
class VirtualMachine : public QObject
{
    Q_OBJECT

public:
    explicit VirtualMachine(MachineSettings settings);
    VirtualMachine(const VirtualMachine&) = delete;
    VirtualMachine& operator=(const VirtualMachine&) = delete;
    VirtualMachine(VirtualMachine&&) = delete;
    VirtualMachine& operator=(VirtualMachine&&) = delete;
    ~VirtualMachine() override;

    void start();
    /// As a loss of power: nothing in the machine is told.
    void cutPower();
    bool running() const { return m_process.state() != QProcess::NotRunning; }

    PodPorts& pods() { return m_pods; }
    MachineShell& shell() { return m_shell; }
    QmpClient& monitor() { return m_monitor; }
    /// What the kernel said.
    QString consoleLog() const { return m_folder.filePath(QStringLiteral("console.log")); }

Q_SIGNALS:
    /// Of the station, in pieces of any size.
    void output(const QByteArray& text);
    /// Switched off, by itself or by others.
    void ended();
    void failed(const QString& reason);

private:
    QString makeInitramfs(const QString& kernel_version) const;
    QStringList arguments() const;

    MachineSettings m_settings;
    QTemporaryDir m_folder;
    PodPorts m_pods;
    RedirPort m_adapter;
    MachineShell m_shell;
    QmpClient m_monitor;
    QProcess m_process;
};
