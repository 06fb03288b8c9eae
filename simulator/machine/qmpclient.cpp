#include "machine/qmpclient.h"

#include <QJsonDocument>

void QmpClient::execute(const QString& name, const QJsonObject& arguments, Done done)
{
    const QJsonObject message{{QStringLiteral("execute"), name},
                              {QStringLiteral("arguments"), arguments}};
    command(
        QJsonDocument(message).toJson(QJsonDocument::Compact),
        [this, name, done = std::move(done)](const QByteArray& answer) {
            const QJsonObject error =
                QJsonDocument::fromJson(answer).object().value(QLatin1String("error")).toObject();
            if (!error.isEmpty())
                emit refused(name, error.value(QLatin1String("desc")).toString());
            else if (done)
                done();
        });
}

void QmpClient::hear(const QByteArray& line)
{
    const QJsonObject message = QJsonDocument::fromJson(line).object();
    if (message.contains(QLatin1String("QMP"))) {
        say(R"({"execute": "qmp_capabilities"})"); // the one command that it takes before all
                                                   // others
    } else if (!ready()) {
        if (message.contains(QLatin1String("return")))
            setReady();
    } else if (message.contains(QLatin1String("event"))) {
        emit happened(message.value(QLatin1String("event")).toString(),
                      message.value(QLatin1String("data")).toObject());
    } else if (waiting()) {
        answer(line);
    }
}
