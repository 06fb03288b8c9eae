#include "app/options.h"
#include "app/prompt.h"
#include "bench/scenariorunner.h"
#include "bench/verdict.h"
#include "common/badinput.h"
#include "explore/explorer.h"
#include "machine/machinesite.h"
#include "scenario/scenarioparser.h"
#include "screen/screenserver.h"
#include "system/interruption.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>

namespace {

constexpr int kBadInput = 2;

Scenario withoutFile(const Options& options)
{
    const SlotSet slot_set = firstSlots(options.pods);
    if (options.firmware_file.isEmpty())
        return plainScenario(options.usual_pod, slot_set, options.stick.inserted,
                             options.screenshot_file);
    FirmwarePlan firmware;
    firmware.file = options.firmware_file;
    return plainUpdate(options.usual_pod, slot_set, firmware, options.screenshot_file);
}

Scenario scenarioOf(const Options& options)
{
    if (options.scenario_file.isEmpty()) {
        Scenario plain = withoutFile(options);
        plain.stick = options.stick;
        if (!options.once)
            plain.steps.clear();
        return plain;
    }
    QFile file(options.scenario_file);
    if (!file.open(QIODevice::ReadOnly))
        throw BadInput(QStringLiteral("%1: %2").arg(options.scenario_file, file.errorString()));
    return parseScenario(file.readAll(), options.scenario_file, options.usual_pod);
}

Display displayOf(const Options& options)
{
    if (options.display != Display::Auto)
        return options.display;
    if (options.once)
        return Display::None;
    return options.machine || qEnvironmentVariableIsEmpty("DISPLAY") ? Display::Vnc
                                                                     : Display::Window;
}

void needStation(const QString& program)
{
    if (!QFileInfo(program).isExecutable())
        throw BadInput(QStringLiteral("%1 is no program").arg(program));
}

void offerScreen(ScreenServer& server)
{
    const quint16 port = server.listen();
    QTextStream out(stdout);
    if (port == 0)
        out << "No port from 5900 on is free: the screen cannot be watched.\n";
    else
        out << "The station's screen: connect a VNC viewer to 127.0.0.1:" << port << '\n';
}

void tellOfFirmware(const std::optional<Firmware>& firmware)
{
    if (firmware && firmware->padding_bytes > 0)
        QTextStream(stdout) << "The firmware got " << firmware->padding_bytes
                            << " bytes of padding in front: with a byte 0xDB in a pod's reply, the "
                               "station gives an update up.\n";
}

/// Played to its end and judged; the exit code says how it came out.
int playOnce(Bench& bench, const Scenario& scenario)
{
    const QStringList problems = ScenarioRunner::playToItsEnd(bench, scenario);
    Verdict verdict = judge(bench, scenario.expect);
    verdict.problems = problems + verdict.problems;
    QTextStream(stdout) << summary(bench, verdict);
    return verdict.good() ? 0 : 1;
}

/// Left to a person, with a scenario's steps as far as they go.
int playWithPerson(Bench& bench, const Scenario& scenario, const PodPlan& usual)
{
    ScenarioRunner runner(bench, scenario, ScenarioRunner::Mode::Attended);
    Prompt prompt(bench, usual);
    QObject::connect(&runner, &ScenarioRunner::finished, qApp, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    runner.start();
    QCoreApplication::exec();
    for (const QString& problem : runner.problems())
        QTextStream(stderr) << problem << '\n';
    return 0; // how the station ended, the prompt has said
}

SiteMaker siteOf(const Options& options)
{
    if (!options.board_folder.isEmpty())
        return machineMaker(Computer::board(options.board_folder));
    return options.machine ? machineMaker(Computer::desk()) : SiteMaker(makePrivateRoot);
}

/// Where a station is tried, as arguments of another bench.
QStringList siteArguments(const Options& options)
{
    QStringList arguments{QStringLiteral("--station"),
                          QFileInfo(options.station_program).absoluteFilePath()};
    if (!options.board_folder.isEmpty())
        arguments << QStringLiteral("--board") << options.board_folder;
    else if (options.machine)
        arguments << QStringLiteral("--machine");
    return arguments;
}

int explore(const Options& options)
{
    Interruption interruption; // first: the explorer makes folders that are not to be left behind
    ExploreSettings settings;
    settings.days = static_cast<std::size_t>(options.explored_days);
    settings.first_seed = options.seed;
    settings.limits = {options.most_episodes, options.machine};
    settings.kept_folder =
        options.kept_folder.isEmpty() ? QStringLiteral("explored") : options.kept_folder;
    settings.player = {QCoreApplication::applicationFilePath(), siteArguments(options),
                       std::max(1, options.jobs)};
    Explorer explorer(settings);
    QObject::connect(&interruption, &Interruption::requested, &interruption,
                     [&explorer] { explorer.interrupt(); });
    return explorer.explore() ? 0 : 1;
}

int run(const Options& options)
{
    needStation(options.station_program);
    if (options.explored_days > 0)
        return explore(options);
    const Scenario scenario = scenarioOf(options);
    const Display display = displayOf(options);
    Interruption interruption; // first: the bench makes folders that are not to be left behind
    Bench bench({QFileInfo(options.station_program).absoluteFilePath(), options.kept_folder,
                 options.seed, display == Display::Window, options.verbose, siteOf(options)},
                scenario);
    tellOfFirmware(bench.firmware());
    QObject::connect(&interruption, &Interruption::requested, &bench, [&bench] {
        QTextStream(stderr) << "Waiting for the station to quit; again ends the bench at once.\n";
        bench.perform(verb::Quit{});
    });
    ScreenServer server(bench.screenSocket());
    if (display == Display::Vnc)
        offerScreen(server);
    return options.once ? playOnce(bench, scenario)
                        : playWithPerson(bench, scenario, options.usual_pod);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    try {
        const Options options = parseOptions(QCoreApplication::arguments());
        if (options.help) {
            QTextStream(stdout) << optionsHelp();
            return 0;
        }
        return run(options);
    } catch (const BadInput& bad) {
        QTextStream(stderr) << "corvane-sim: " << bad.text() << '\n';
        return kBadInput;
    }
}
