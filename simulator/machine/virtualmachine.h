#pragma once

#include "bench/dependentprocess.h"
#include "machine/machinekernel.h"
#include "machine/machineshell.h"
#include "machine/qmpclient.h"
#include "usbredir/podports.h"
#include "usbredir/redirport.h"

#include <QObject>
#include <QTemporaryDir>

/// How a machine is made.
struct MachineSettings
{
    QString station_program;
    QString opt_image;                  ///< an ext4 file system, which outlives the machine's power
    QString stick_image;                ///< must be there when the machine starts
    quint32 stick_bytes_per_second = 0; ///< written to it; 0: no limit
    QString console_log;                ///< what the kernel says
    QString packages; ///< the folder of those to install; empty: the program as it was built
};

/// A station's computer, emulated whole: a stock kernel on the root of this machine, which it
/// cannot change, with the station's disk, screen, hubs and places. It can be started again and
/// again. Lives on one thread, owned by the bench; the process dies with it. Throws
/// BadInput when it cannot be made; what goes wrong later is said on the error output, and its end.
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
    /// Under systemd, by packages.
    bool installsStation() const { return !m_settings.packages.isEmpty(); }
    QString screenSocket() const { return m_folder.filePath(QStringLiteral("screen")); }
    QString stickImage() const { return m_settings.stick_image; }
    bool stickInserted() const { return m_stick_inserted; }
    /// Also while the machine is off.
    void setStickInserted(bool inserted);

Q_SIGNALS:
    /// Of the station, in pieces of any size.
    void output(const QByteArray& text);
    /// Switched off, by itself or by others.
    void ended();

private:
    void plugStick();
    QStringList arguments() const;

    MachineSettings m_settings;
    QTemporaryDir m_folder;
    MachineKernel m_kernel;
    PodPorts m_pods;
    RedirPort m_adapter;
    MachineShell m_shell;
    QmpClient m_monitor;
    DependentProcess m_process;
    bool m_stick_inserted = false;
};
