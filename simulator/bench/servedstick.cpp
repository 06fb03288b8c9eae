#include "bench/servedstick.h"

#include "bench/badinput.h"

#include <QSaveFile>

namespace {
const QString kMark = QStringLiteral("stick-inserted");
const QString kLog = QStringLiteral("stick.log");
} // namespace

ServedStick::ServedStick(const QString& folder, const QString& control_folder,
                         const StickPlan& plan)
    : BenchStick(folder, plan)
    , m_control(control_folder)
    , m_settings(plan.settings)
{
    for (const StickItem& item : plan.items)
        if (item.kind == StickItem::Kind::Unreadable)
            m_settings.unreadable += item.name;
}

bool ServedStick::inserted() const
{
    return QFile::exists(m_control.filePath(kMark));
}

void ServedStick::setInserted(bool inserted)
{
    if (!inserted) {
        QFile::remove(m_control.filePath(kMark));
        return;
    }
    QSaveFile mark(m_control.filePath(kMark)); // whole from its first moment
    if (!mark.open(QIODevice::WriteOnly) || mark.write(m_settings.toText()) < 0 || !mark.commit())
        throw BadInput(
            QStringLiteral("cannot write %1: %2").arg(mark.fileName(), mark.errorString()));
    m_settings.pull_at_byte = 0;
}

QStringList ServedStick::complaints() const
{
    QFile log(m_control.filePath(kLog));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
