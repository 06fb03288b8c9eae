#include "explore/dayfile.h"

#include "common/badinput.h"
#include "explore/dayscript.h"

#include <QJsonDocument>
#include <QSaveFile>

void writeDay(const Day& day, const QString& path)
{
    QSaveFile file(path);
    const QByteArray json = QJsonDocument(scenarioOf(day)).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
        throw BadInput(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
}

QStringList playArguments(const Day& day, const QString& path)
{
    return {QStringLiteral("--once"), QStringLiteral("--scenario"), path, QStringLiteral("--seed"),
            QString::number(day.seed)};
}
