#include "scenario/verbparser.h"

#include "scenario/podparser.h"
#include "scenario/stickparser.h"

#include <QJsonArray>
#include <QMap>

#include <algorithm>
#include <limits>
#include <optional>

namespace {

constexpr quint64 kMostRoom = std::numeric_limits<int>::max();
constexpr int kMostTimes = 16;
constexpr quint64 kMostHole = std::numeric_limits<quint32>::max();

using Words = QStringList;
using P = const JsonPlace&;
using U = const PodPlan&; // the usual one

Verb plugOf(P place, U usual)
{
    if (!place.isObject())
        return verb::Plug{place.slotSet(), std::nullopt};
    const SlotSet slot_set = place.member("slots").slotSet();
    PodPlan plan = usual;
    readPod(place, plan, {{"slots", {}}});
    return verb::Plug{slot_set, plan};
}

Verb setFaultOf(P place, U /*usual*/)
{
    place.readMembers({{"slots", {}}, {"fault", {}}});
    return verb::SetFault{place.member("slots").slotSet(),
                          place.member("fault").parsed(faultFromText)};
}

Verb touchOf(P place, U /*usual*/)
{
    const auto numbers = place.elements();
    if (numbers.size() != 2)
        place.refuse(QStringLiteral("a touch is [x, y]"));
    return verb::Touch{QPoint(numbers[0].number(0, 479), numbers[1].number(0, 271))};
}

Verb screenshotOf(P place, U /*usual*/)
{
    if (!place.isObject())
        return verb::Screenshot{place.text()};
    verb::Screenshot screenshot{place.member("file").text()};
    screenshot.gauge = place.member("gauge").number(0, kSlotCount - 1);
    place.readMembers(
        {{"file", {}}, {"gauge", {}}, {"times", into(screenshot.times, 1, kMostTimes)}});
    return screenshot;
}

Verb stationVerbOf(P place, U /*usual*/)
{
    static const QMap<QString, Verb> verbs{{QStringLiteral("quit"), verb::Quit{}},
                                           {QStringLiteral("stop"), verb::StopStation{}},
                                           {QStringLiteral("kill"), verb::KillStation{}},
                                           {QStringLiteral("restart"), verb::RestartStation{}},
                                           {QStringLiteral("measure"), verb::MeasureStation{}}};
    const QString name = place.text();
    if (!verbs.contains(name))
        place.refuse(QStringLiteral("unknown '%1'; a station can: %2")
                         .arg(name, verbs.keys().join(QStringLiteral(", "))));
    return verbs.value(name);
}

Verb clockOf(P place, U /*usual*/)
{
    QDateTime time = QDateTime::fromString(place.text(), Qt::ISODate);
    if (!time.isValid() || time.toSecsSinceEpoch() < 0)
        place.refuse(
            QStringLiteral("a time is written 2038-01-19T03:14:07, and is none before 1970"));
    time.setTimeSpec(Qt::UTC);
    return verb::SetClock{time};
}

// What is typed, as a scenario's file would have it. The words begin with the verb.

QJsonValue oneWord(const Words& words)
{
    return words.at(1);
}

QJsonValue verbItself(const Words& words)
{
    return words.at(0);
}

QJsonValue faultWords(const Words& words)
{
    return QJsonObject{{QStringLiteral("slots"), words.at(1)},
                       {QStringLiteral("fault"), words.mid(2).join(QLatin1Char(' '))}};
}

/// SLOTS [SIZE] [FAULT...]: the fault's name is what follows the size, or the slots.
QJsonValue plugWords(const Words& words)
{
    if (words.size() == 2)
        return words.at(1);
    const bool sized = words.at(2).front().isDigit();
    QJsonObject pod{{QStringLiteral("slots"), words.at(1)}};
    if (sized)
        pod.insert(QStringLiteral("size"), words.at(2));
    if (const Words fault = words.mid(sized ? 3 : 2); !fault.isEmpty())
        pod.insert(QStringLiteral("fault"), fault.join(QLatin1Char(' ')));
    return pod;
}

QJsonValue numberWords(const Words& words)
{
    QJsonArray numbers;
    for (const QString& word : words.mid(1)) {
        bool ok = false;
        const int number = word.toInt(&ok);
        numbers += ok ? QJsonValue(number) : QJsonValue(word);
    }
    return numbers;
}

/// How a verb is typed: its words, without itself, and the value that they stand for.
struct Typing
{
    const char* usage = nullptr;
    const char* help = nullptr;
    int least_words = 0;
    int most_words = 0;
    QJsonValue (*value)(const Words& words) = nullptr;
};

struct Row
{
    const char* name;
    bool in_scenarios;
    Verb (*read)(P place, U usual);
    std::optional<Typing> typing;
};

const std::vector<Row>& rows()
{
    static const std::vector<Row> all{
        {"plug", true, plugOf,
         Typing{"plug 3 [SIZE] [FAULT]", "plug a pod into slot 3 (also 0-5,7 or all)", 1, 9,
                plugWords}},
        {"unplug", true, [](P place, U) -> Verb { return verb::Unplug{place.slotSet()}; },
         Typing{"unplug 3", "pull it out", 1, 1, oneWord}},
        {"fault", true, setFaultOf,
         Typing{"fault 3 FAULT", "what is wrong with the next pod plugged into slot 3 (or none)", 2,
                9, faultWords}},
        {"stick", true, [](P place, U) -> Verb { return stickVerbOf(place); },
         Typing{"stick in, stick out", "insert or pull the USB stick", 1, 1, oneWord}},
        {"put", false, [](P place, U) -> Verb { return verb::PutOnStick{place.text()}; },
         Typing{"put FILE", "copy a file onto the stick, while it is out", 1, 1, oneWord}},
        {"grow archive",
         true,
         [](P place, U) -> Verb { return verb::GrowArchive{place.bytes(kMostHole)}; },
         {}},
        {"touch", true, touchOf, Typing{"touch X Y", "touch the screen", 2, 2, numberWords}},
        {"screenshot", true, screenshotOf,
         Typing{"screenshot FILE", "save what the screen shows", 1, 1, oneWord}},
        {"station", true, stationVerbOf, {}},
        {"clock", true, clockOf,
         Typing{"clock TIME", "set a machine's clock, as 2038-01-19T03:14:07", 1, 1, oneWord}},
        {"room", true,
         [](P place, U) -> Verb { return verb::LeaveRoom{qint64(place.bytes(kMostRoom))}; },
         Typing{"room BYTES", "so much is left on the station's own disk", 1, 1, oneWord}},
        {"status", false, [](P, U) -> Verb { return verb::Status{}; },
         Typing{"status", "every slot, the stick and the panel", 0, 0, verbItself}},
        {"stop", false, stationVerbOf,
         Typing{"stop", "ask the station to end, by signal", 0, 0, verbItself}},
        {"kill", false, stationVerbOf, Typing{"kill", "cut the station's power", 0, 0, verbItself}},
        {"restart", false, stationVerbOf,
         Typing{"restart", "start the station again", 0, 0, verbItself}},
        {"quit", false, stationVerbOf,
         Typing{"quit", "end the station and the bench", 0, 0, verbItself}},
        {"help", false, [](P, U) -> Verb { return verb::Help{}; },
         Typing{"help", "this", 0, 0, verbItself}},
    };
    return all;
}

} // namespace

JsonPlace::Members verbMembers(std::vector<Verb>& verbs, const PodPlan& usual)
{
    JsonPlace::Members members;
    for (const Row& row : rows())
        if (row.in_scenarios)
            members.emplace_back(row.name, [&verbs, &usual, read = row.read](const auto& place) {
                verbs.push_back(read(place, usual));
            });
    return members;
}

Verb parseVerb(const QString& line, const PodPlan& usual)
{
    const Words words = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString name = words.value(0);
    const auto row = std::find_if(rows().begin(), rows().end(), [&name](const Row& one) {
        return one.typing && name == QLatin1String(one.name);
    });
    if (row == rows().end())
        throw BadInput(QStringLiteral("unknown '%1'; try help").arg(name));
    if (words.size() - 1 < row->typing->least_words || words.size() - 1 > row->typing->most_words)
        throw BadInput(QStringLiteral("that is not how '%1' is written; see help").arg(name));
    return row->read({row->typing->value(words), name}, usual);
}

QString verbHelp()
{
    QString text;
    for (const Row& row : rows())
        if (row.typing)
            text += QStringLiteral("%1%2\n")
                        .arg(QLatin1String(row.typing->usage), -23)
                        .arg(QLatin1String(row.typing->help));
    return text + QStringLiteral("Slots count from 0, the operator's places from 1: slot 0 is "
                                 "place 1.\n");
}
