#include "privateroot/servedstick.h"

#include "common/badinput.h"

#include <QSaveFile>

namespace {
const QString kMark = QStringLiteral("stick-inserted");
const QString kLog = QStringLiteral("stick.log");

StickSettings settingsOf(const StickPlan& plan)
{
    StickSettings settings = plan.settings;
    for (const StickItem& item : plan.items)
        if (item.kind == StickItem::Kind::Unreadable)
            settings.unreadable += item.name;
    return settings;
}

} // namespace

ServedStick::ServedStick(const QString& folder, const QString& control_folder,
                         const StickPlan& plan)
    : BenchStick(folder, plan)
    , m_control(control_folder)
    , m_settings(settingsOf(plan))
    , m_may_stay(plan.may_stay)
{
}

bool ServedStick::inserted() const
{
    return QFile::exists(m_control.filePath(kMark));
}

void ServedStick::setInserted(bool inserted)
{
    if (!inserted) {
        m_pulled_before_its_byte |= m_leaves_by_itself && this->inserted();
        QFile::remove(m_control.filePath(kMark));
        return;
    }
    QSaveFile mark(m_control.filePath(kMark)); // whole from its first moment
    if (!mark.open(QIODevice::WriteOnly) || mark.write(m_settings.toBytes()) < 0 || !mark.commit())
        throw BadInput(
            QStringLiteral("cannot write %1: %2").arg(mark.fileName(), mark.errorString()));
    m_leaves_by_itself = m_settings.pull_at_byte != 0 && !m_may_stay;
    m_settings.pull_at_byte = 0;
}

void ServedStick::replace(const StickPlan& plan)
{
    beginAnother(plan);
    m_settings = settingsOf(plan);
    m_may_stay = plan.may_stay;
}

QStringList ServedStick::complaints() const
{
    QStringList list;
    if (m_pulled_before_its_byte || (m_leaves_by_itself && inserted()))
        list += QStringLiteral("it was to leave by itself and did not come to its byte");
    QFile log(m_control.filePath(kLog));
    if (log.open(QIODevice::ReadOnly))
        list += QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return list;
}
