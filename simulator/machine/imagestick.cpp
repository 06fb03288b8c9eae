#include "machine/imagestick.h"

#include "common/badinput.h"
#include "machine/machinereport.h"
#include "machine/stickimage.h"
#include "machine/virtualmachine.h"
#include "system/stationpaths.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

/// Thirty usual recordings fit twice. What is not written takes no room here.
constexpr quint64 kUsualBytes = 512ULL * 1024 * 1024;

bool isPlain(const StickItem& item)
{
    return item.kind != StickItem::Kind::Link && item.kind != StickItem::Kind::Unreadable;
}

} // namespace

ImageStick::ImageStick(const QString& folder, const StickPlan& plan, VirtualMachine& machine,
                       const MachineReport& report)
    : BenchStick(folder, plan)
    , m_machine(machine)
    , m_report(report)
    , m_size_bytes(plan.settings.size_bytes > 0 ? plan.settings.size_bytes : kUsualBytes)
{
    if (!std::all_of(plan.items.begin(), plan.items.end(), isPlain) ||
        plan.settings.pull_at_byte > 0 || plan.settings.lies())
        throw BadInput(QStringLiteral("a machine's stick holds plain files, keeps what it is given "
                                      "and does not leave by itself"));
}

bool ImageStick::inserted() const
{
    return m_machine.stickPort().inserted();
}

void ImageStick::setInserted(bool inserted)
{
    if (!std::exchange(m_made, true))
        stickimage::make(m_machine.stickImage(), m_size_bytes, folder().path());
    m_machine.stickPort().setInserted(inserted);
}

/// Its image is made once, of what the scenario says.
void ImageStick::put(const QString& /*file*/)
{
    throw BadInput(QStringLiteral("nothing is put on a machine's stick by hand"));
}

std::optional<qint64> ImageStick::bytesOf(const QString& name) const
{
    if (m_machine.running()) {
        const std::optional<bool> mounted = m_report.mounted(stationpaths::kUsbKey);
        if (mounted.value_or(true)) // without an answer, there is none about the file either
            return m_report.bytesOf(stationpaths::kUsbKey + QLatin1Char('/') + name);
    }
    unpack();
    return BenchStick::bytesOf(name);
}

void ImageStick::unpack() const
{
    const QDateTime changed = QFileInfo(m_machine.stickImage()).lastModified();
    if (changed == m_unpacked)
        return;
    m_unpacked = changed;
    m_complaints.clear();
    try {
        stickimage::unpack(m_machine.stickImage(), folder().path());
    } catch (const BadInput& bad) {
        m_complaints += bad.text();
    }
}
