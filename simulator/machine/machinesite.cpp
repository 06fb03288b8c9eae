#include "machine/machinesite.h"

#include "common/badinput.h"
#include "scenario/scenario.h"

#include <QDir>

namespace {

/// Of which the file takes what is written.
constexpr qint64 kWriteLogBytes = qint64(4) << 30;

QString makeWriteLog(const BenchFolder& folder)
{
    QFile file(QDir(folder.path()).filePath(QStringLiteral("writes.img")));
    if (!file.open(QIODevice::WriteOnly) || !file.resize(kWriteLogBytes))
        throw BadInput(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
    return file.fileName();
}

} // namespace

MachineSite::MachineSite(const BenchSettings& settings, const Scenario& scenario,
                         const BenchFolder& folder, const Computer& computer,
                         const MachineExtras& extras)
    : m_disk(folder, QDir(folder.path()).filePath(QStringLiteral("opt.img")), extras.disk_bytes)
    , m_write_log(extras.writes_logged ? makeWriteLog(folder) : QString())
    , m_machine({computer, settings.station_program, m_disk.image(), extras.disk_mapped,
                 m_write_log, QDir(folder.path()).filePath(QStringLiteral("stick.img")),
                 scenario.stick.settings.bytes_per_second,
                 QDir(folder.path()).filePath(QStringLiteral("console.log")), extras.packages})
    , m_report(m_machine.shell())
    , m_stick(folder.stick(), scenario.stick, m_machine, m_report)
    , m_station(
          m_machine, m_report, [this] { unpack(); }, folder.log(), settings.echo_log)
{
    if (scenario.download_space_bytes > 0 || !scenario.expect.never_run.isEmpty())
        throw BadInput(QStringLiteral("a machine neither limits downloads nor notes programs"));
}

void MachineSite::unpack() const
{
    m_disk.unpack();
    m_stick.unpack();
}

SiteMaker machineMaker(const Computer& computer)
{
    return [computer](const BenchSettings& settings, const Scenario& scenario,
                      const BenchFolder& folder) {
        return std::make_unique<MachineSite>(settings, scenario, folder, computer);
    };
}
