#include "app/options.h"

#include "common/badinput.h"
#include "common/slotset.h"

#include <QCommandLineParser>
#include <QThread>

namespace {

QString option(const char* name)
{
    return QLatin1String(name);
}

void addOptions(QCommandLineParser& parser)
{
    const auto add = [&parser](const char* name, const char* help, const char* value) {
        parser.addOption({option(name), option(help), option(value)});
    };
    add("pods", "How many places hold a pod at the start (30).", "N");
    add("size", "Size of the recordings: 4096, 64K, 8M (usual), or a range: 1M-16M.", "BYTES");
    add("speed", "What a pod sends a second at most (1200000; 0: no limit).", "BYTES");
    add("no-stick", "Start without the USB stick.", "");
    add("stick-folder", "Copy what is in this folder onto the stick first.", "DIR");
    add("stick-size", "What the stick holds: 64M (usual: as much as this disk has).", "BYTES");
    add("stick-speed", "What the stick takes a second at most: 2M (0: no limit).", "BYTES");
    add("display", "Where the window is: auto (usual), window, vnc or none.", "KIND");
    add("station", "The station program (usual: the one that came with the bench).", "PATH");
    add("scenario", "Play a scenario file.", "FILE");
    add("machine", "Run the station in a virtual machine, with a kernel of its own.", "");
    add("board", "Run it in the board that scripts/board has made ready.", "DIR");
    add("firmware", "Put an update package with this image onto the stick.", "FILE");
    add("once", "Play to the end without a person, check everything, and exit 0 if it is right.",
        "");
    add("explore", "Invent so many days, play each to its end, and look for what must not be.",
        "N");
    add("episodes", "How much may happen on a day of --explore (16).", "N");
    add("jobs", "How many days --explore plays beside each other (4 for each core).", "J");
    add("screenshot", "Where --once saves the screen's last picture (corvane.png).", "FILE");
    add("keep", "Keep the station's storage, the stick and the log in this folder.", "DIR");
    add("seed", "Other pods and recordings (1).", "N");
    add("verbose", "Show the station's log lines.", "");
    add("help", "Show this.", "");
}

quint64 numberOf(const QCommandLineParser& parser, const char* name, quint64 usual, quint64 most)
{
    if (!parser.isSet(option(name)))
        return usual;
    bool ok = false;
    const quint64 number = parser.value(option(name)).toULongLong(&ok);
    if (!ok || number > most)
        throw BadInput(QStringLiteral("--%1: '%2' is no number from 0 to %3")
                           .arg(option(name), parser.value(option(name)))
                           .arg(most));
    return number;
}

Display displayOf(const QCommandLineParser& parser)
{
    const QString kind = parser.value(option("display"));
    if (kind.isEmpty() || kind == option("auto"))
        return Display::Auto;
    if (kind == option("window"))
        return Display::Window;
    if (kind == option("vnc"))
        return Display::Vnc;
    if (kind == option("none"))
        return Display::None;
    throw BadInput(QStringLiteral("--display is auto, window, vnc or none, not '%1'").arg(kind));
}

PodPlan usualPodOf(const QCommandLineParser& parser)
{
    PodPlan plan;
    if (parser.isSet(option("size")))
        plan.size = sizeRangeFromText(parser.value(option("size")));
    plan.bytes_per_second = static_cast<quint32>(
        numberOf(parser, "speed", plan.bytes_per_second, std::numeric_limits<quint32>::max()));
    return plan;
}

StickPlan stickOf(const QCommandLineParser& parser)
{
    StickPlan plan;
    plan.inserted = !parser.isSet(option("no-stick"));
    plan.folder = parser.value(option("stick-folder"));
    if (parser.isSet(option("stick-size")))
        plan.settings.size_bytes = largeByteCountFromText(parser.value(option("stick-size")));
    if (parser.isSet(option("stick-speed")))
        plan.settings.bytes_per_second = byteCountFromText(parser.value(option("stick-speed")));
    return plan;
}

void refuseContradictions(const QCommandLineParser& parser)
{
    const auto both = [&parser](const char* one, const char* other) {
        return parser.isSet(option(one)) && parser.isSet(option(other));
    };
    if (both("scenario", "pods") || both("scenario", "no-stick") ||
        both("scenario", "stick-folder") || both("scenario", "stick-size") ||
        both("scenario", "stick-speed") || both("scenario", "firmware"))
        throw BadInput(
            QStringLiteral("with --scenario, the file says which pods and stick there are"));
    if (both("once", "no-stick"))
        throw BadInput(
            QStringLiteral("--once ends when the archive is on the stick: it needs one"));
    if (both("firmware", "no-stick"))
        throw BadInput(QStringLiteral("--firmware is on the stick: it needs one"));
    if (both("explore", "scenario") || both("explore", "once") || both("explore", "pods") ||
        both("explore", "firmware"))
        throw BadInput(QStringLiteral("--explore invents what happens"));
    if (parser.isSet(option("screenshot")) && !parser.isSet(option("once")))
        throw BadInput(
            QStringLiteral("--screenshot belongs to --once; at the prompt, type screenshot"));
    if (both("machine", "board"))
        throw BadInput(QStringLiteral("--board is a machine already: no --machine"));
}

} // namespace

Options parseOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments))
        throw BadInput(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        throw BadInput(QStringLiteral("unknown '%1'").arg(parser.positionalArguments().front()));
    refuseContradictions(parser);
    Options options;
    options.help = parser.isSet(option("help"));
    options.pods = static_cast<int>(numberOf(parser, "pods", kSlotCount, kSlotCount));
    options.usual_pod = usualPodOf(parser);
    options.stick = stickOf(parser);
    options.display = displayOf(parser);
    options.board_folder = parser.value(option("board"));
    options.station_program = parser.value(option("station"));
    options.scenario_file = parser.value(option("scenario"));
    options.machine = parser.isSet(option("machine")) || !options.board_folder.isEmpty();
    options.firmware_file = parser.value(option("firmware"));
    options.once = parser.isSet(option("once"));
    options.explored_days = static_cast<int>(numberOf(parser, "explore", 0, 1'000'000));
    options.most_episodes = static_cast<int>(
        numberOf(parser, "episodes", static_cast<quint64>(options.most_episodes), 1000));
    options.jobs = static_cast<int>(
        numberOf(parser, "jobs", quint64(4) * quint64(QThread::idealThreadCount()), 1000));
    options.screenshot_file = parser.isSet(option("screenshot"))
                                  ? parser.value(option("screenshot"))
                                  : QStringLiteral("corvane.png");
    options.kept_folder = parser.value(option("keep"));
    options.seed = numberOf(parser, "seed", 1, std::numeric_limits<quint64>::max());
    options.verbose = parser.isSet(option("verbose"));
    if (options.once && options.pods == 0)
        throw BadInput(QStringLiteral("--once needs a pod"));
    return options;
}

QString optionsHelp()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        option("The station program at a simulated bench: pods, USB stick and screen."));
    addOptions(parser);
    return parser.helpText();
}
