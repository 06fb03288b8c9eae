#include "scenario/verbparser.h"

#include "common/badinput.h"

#include <QMap>
#include <QRect>

#include <functional>

namespace {

using Words = QStringList;

void needWords(const Words& words, int least, int most)
{
    if (words.size() - 1 < least || words.size() - 1 > most)
        throw BadInput(
            QStringLiteral("that is not how '%1' is written; see help").arg(words.front()));
}

/// plug PLACES [SIZE] [FAULT...]: the fault's name is what follows the size, or the places.
Verb plugOf(const Words& words, const PodPlan& usual)
{
    needWords(words, 1, 9);
    if (words.size() == 2)
        return verb::Plug{slotSetFromText(words.at(1)), std::nullopt};
    PodPlan plan = usual;
    const bool sized = words.at(2).front().isDigit();
    if (sized)
        plan.size = sizeRangeFromText(words.at(2));
    const QString fault = words.mid(sized ? 3 : 2).join(QLatin1Char(' '));
    if (!fault.isEmpty())
        plan.fault = faultFromText(fault);
    return verb::Plug{slotSetFromText(words.at(1)), plan};
}

Verb unplugOf(const Words& words, const PodPlan& /*usual*/)
{
    needWords(words, 1, 1);
    return verb::Unplug{slotSetFromText(words.at(1))};
}

Verb faultVerbOf(const Words& words, const PodPlan& /*usual*/)
{
    needWords(words, 2, 9);
    const PodFault fault = words.at(2) == QLatin1String("none")
                               ? PodFault::None
                               : faultFromText(words.mid(2).join(QLatin1Char(' ')));
    return verb::SetFault{slotSetFromText(words.at(1)), fault};
}

Verb stickOf(const Words& words, const PodPlan& /*usual*/)
{
    needWords(words, 1, 1);
    if (words.at(1) != QLatin1String("in") && words.at(1) != QLatin1String("out"))
        throw BadInput(QStringLiteral("write stick in or stick out"));
    return verb::Stick{words.at(1) == QLatin1String("in"), std::nullopt};
}

Verb touchOf(const Words& words, const PodPlan& /*usual*/)
{
    needWords(words, 2, 2);
    bool x_ok = false;
    bool y_ok = false;
    const QPoint at(words.at(1).toInt(&x_ok), words.at(2).toInt(&y_ok));
    if (!x_ok || !y_ok || !QRect(0, 0, 480, 272).contains(at))
        throw BadInput(QStringLiteral("the screen has x 0 to 479 and y 0 to 271"));
    return verb::Touch{at};
}

Verb screenshotOf(const Words& words, const PodPlan& /*usual*/)
{
    needWords(words, 1, 1);
    return verb::Screenshot{words.at(1)};
}

template <typename Plain>
Verb plainVerb(const Words& words, const PodPlan& /*usual*/)
{
    needWords(words, 0, 0);
    return Plain{};
}

using Reader = std::function<Verb(const Words&, const PodPlan&)>;

const QMap<QString, Reader>& readers()
{
    static const QMap<QString, Reader> by_name{
        {QStringLiteral("plug"), plugOf},
        {QStringLiteral("unplug"), unplugOf},
        {QStringLiteral("fault"), faultVerbOf},
        {QStringLiteral("stick"), stickOf},
        {QStringLiteral("touch"), touchOf},
        {QStringLiteral("screenshot"), screenshotOf},
        {QStringLiteral("status"), plainVerb<verb::Status>},
        {QStringLiteral("stop"), plainVerb<verb::StopStation>},
        {QStringLiteral("kill"), plainVerb<verb::KillStation>},
        {QStringLiteral("restart"), plainVerb<verb::RestartStation>},
        {QStringLiteral("quit"), plainVerb<verb::Quit>},
        {QStringLiteral("help"), plainVerb<verb::Help>},
    };
    return by_name;
}

} // namespace

Verb parseVerb(const QString& line, const PodPlan& usual)
{
    const Words words = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty() || !readers().contains(words.front()))
        throw BadInput(QStringLiteral("unknown '%1'; try help").arg(words.value(0)));
    return readers().value(words.front())(words, usual);
}

QString verbHelp()
{
    return QStringLiteral(
        "plug 3 [SIZE] [FAULT]  plug a pod into place 3 (also 0-5,7 or all)\n"
        "unplug 3               pull it out\n"
        "fault 3 FAULT          what is wrong with the next pod plugged into place 3 (or none)\n"
        "stick in, stick out    insert or pull the USB stick\n"
        "touch X Y              touch the screen\n"
        "screenshot FILE        save what the screen shows\n"
        "status                 every place, the stick and the panel\n"
        "stop                   ask the station to end, by signal\n"
        "kill, restart          cut the station's power; start it again\n"
        "quit                   end the station and the bench\n");
}
