#include "site/station.h"

#include "common/badinput.h"

#include <QTextStream>

Station::Station(const QString& log_path, bool echo)
    : m_log_file(log_path)
    , m_echo(echo)
{
    if (!m_log_file.open(QIODevice::WriteOnly))
        throw BadInput(
            QStringLiteral("cannot write %1: %2").arg(log_path, m_log_file.errorString()));
}

void Station::setClock(const QDateTime& /*time*/)
{
    throw BadInput(QStringLiteral("only a machine has a clock of its own"));
}

void Station::leaveRoom(qint64 /*bytes*/)
{
    throw BadInput(QStringLiteral("the station has no disk of its own here"));
}

void Station::noteStart()
{
    m_exit_code.reset();
    m_log.beginRun();
}

void Station::noteOutput(const QByteArray& output)
{
    m_log_file.write(output);
    m_log_file.flush();
    if (m_echo)
        QTextStream(stderr) << output;
    if (!m_log.append(output).isEmpty())
        emit logged();
}

void Station::noteEnd(int exit_code)
{
    m_exit_code = exit_code;
    emit ended(exit_code);
}
