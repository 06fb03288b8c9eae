#include "explore/stickinventor.h"

#include "bus/memorychip.h"
#include "explore/dice.h"
#include "explore/json.h"

using json::object;

namespace {

/// The one that the station would give to its first archive if that came late.
QByteArray takenName()
{
    return "QVX_DATAS_" + MemoryChip::defaultEui48().toHex().toUpper() + "_0000000000.cvx";
}

} // namespace

StickInventor::StickInventor(Dice& dice, bool machine)
    : m_dice(dice)
    , m_machine(machine)
    , m_foreign_percent(dice.oneOf({10, 50, 90}))
    , m_command_percent(dice.oneOf({0, 10, 40}))
    , m_erase_percent(dice.oneOf({0, 0, 0, 30}))
    , m_oddity_percent(dice.oneOf({0, 0, 15}))
    , m_spoiled_percent(dice.oneOf({0, 20, 60}))
{
}

QJsonObject StickInventor::stick()
{
    QJsonObject stick;
    QJsonObject content;
    fill(content);
    addCommands(content);
    addOddities(content);
    if (!content.isEmpty())
        stick.insert(QStringLiteral("content"), content);
    if (!m_machine && m_dice.chance(m_spoiled_percent))
        spoil(stick);
    return stick;
}

QJsonObject StickInventor::badStick()
{
    QJsonObject stick;
    if (m_dice.chance(30))
        stick.insert(QStringLiteral("content"),
                     object({{takenName().constData(), "a stranger's"}}));
    else
        spoil(stick);
    return stick;
}

void StickInventor::fill(QJsonObject& content)
{
    for (const QByteArray& name :
         QByteArrayList{"holiday.jpg", "notes.txt", "QVX_DATAS.cvx", takenName(), ".corvane.new",
                        "Umlaut \xC3\xA4.txt"})
        if (m_dice.chance(m_foreign_percent / 3))
            content.insert(QString::fromUtf8(name),
                           QString(m_dice.magnitude(1, 20000), QLatin1Char('x')));
}

void StickInventor::addCommands(QJsonObject& content)
{
    if (m_dice.chance(m_command_percent))
        content.insert(QStringLiteral("cmd_gen_backup.txt"), QString());
    if (m_dice.chance(m_command_percent / 2))
        content.insert(QStringLiteral("cmd_gen_report.txt"), QString());
    if (m_dice.chance(m_command_percent / 2))
        content.insert(QStringLiteral("corvane.zip"), QStringLiteral("a program"));
    if (m_dice.chance(m_command_percent / 2))
        content.insert(QStringLiteral("app.zip"), QStringLiteral("no package"));
    if (m_dice.chance(m_erase_percent))
        content.insert(QStringLiteral("cmd_erase_datas.txt"),
                       QLatin1String(m_dice.oneOf({"", "0", "1", "2", "-1", "all of them"})));
}

/// What bears the name of a command and is none.
void StickInventor::addOddities(QJsonObject& content)
{
    for (const char* name : {"cmd_gen_backup.txt", "cmd_erase_datas.txt", "cmd_gen_report.txt",
                             "app.zip", "corvane.zip"}) {
        if (!m_dice.chance(m_oddity_percent))
            continue;
        const int kind = m_dice.number(0, m_machine ? 0 : 2);
        content.insert(QLatin1String(name),
                       kind == 0   ? object({{"folder", true}})
                       : kind == 1 ? object({{"link", QStringLiteral("/etc/hostname")}})
                                   : object({{"unreadable", true}}));
    }
}

void StickInventor::spoil(QJsonObject& stick)
{
    switch (m_dice.number(0, 4)) {
    case 0:
        stick.insert(QStringLiteral("size"), m_dice.magnitude(4096, 400'000));
        break;
    case 1:
        stick.insert(QStringLiteral("speed"), m_dice.magnitude(60'000, 2'000'000));
        break;
    case 2:
        stick.insert(QStringLiteral("pull at byte"), m_dice.magnitude(1, 1'000'000));
        stick.insert(QStringLiteral("may stay"), true);
        break;
    case 3:
        stick.insert(QStringLiteral("loses from byte"), m_dice.magnitude(1, 1'000'000));
        break;
    default:
        stick.insert(QStringLiteral("flips at byte"), m_dice.magnitude(1, 1'000'000));
    }
}
