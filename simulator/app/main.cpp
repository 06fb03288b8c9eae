#include "app/options.h"
#include "app/programagain.h"
#include "app/prompt.h"
#include "bench/scenariorunner.h"
#include "bench/verdict.h"
#include "common/badinput.h"
#include "common/companions.h"
#include "explore/explorer.h"
#include "machine/machinesite.h"
#include "scenario/scenarioparser.h"
#include "system/interruption.h"
#include "window/benchwindow.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTextStream>

#include <algorithm>
#include <clocale>
#include <utility>

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

Scenario scenarioIn(const Options& options)
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

Scenario scenarioOf(const Options& options)
{
    Scenario scenario = scenarioIn(options);
    if (options.machine) // it has one of its own
        scenario.disk_bytes = 0;
    return scenario;
}

Display displayOf(const Options& options)
{
    if (options.display != Display::Auto)
        return options.display;
    if (options.once || options.explored_days > 0 || options.help)
        return Display::None;
    return qEnvironmentVariableIsEmpty("DISPLAY") ? Display::Vnc : Display::Window;
}

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments += QString::fromLocal8Bit(argv[i]);
    return arguments;
}

void needStation(const QString& program)
{
    if (!QFileInfo(program).isExecutable())
        throw BadInput(QStringLiteral("%1 is no program").arg(program));
}

void tellOfFirmware(const std::optional<Firmware>& firmware)
{
    if (firmware && firmware->padding_bytes > 0)
        QTextStream(stdout) << "The firmware got " << firmware->padding_bytes
                            << " bytes of padding in front: with a byte 0xDB in a pod's reply, the "
                               "station gives an update up.\n";
}

/// Runs until the runner says that it is over; the window, if there is one, shows it. What the
/// person wants to see next: a scenario's file, or nothing.
QString watch(Bench& bench, ScenarioRunner& runner, const Scenario& scenario, const PodPlan& usual,
              BenchWindow* window)
{
    if (window != nullptr)
        window->show(bench, runner, scenario, usual);
    runner.play();
    return window != nullptr ? window->leave() : QString();
}

/// Played to its end and judged; the exit code says how it came out.
int playOnce(Bench& bench, const Scenario& scenario, const PodPlan& usual, BenchWindow* window)
{
    ScenarioRunner runner(bench, scenario, ScenarioRunner::Mode::Unattended);
    watch(bench, runner, scenario, usual, window);
    Verdict verdict = judge(bench, scenario.expect);
    verdict.problems = runner.problems() + verdict.problems;
    QTextStream(stdout) << summary(bench, verdict);
    return verdict.good() ? 0 : 1;
}

/// Left to a person, with a scenario's steps as far as they go; what the person wants next. How the
/// station ended, the prompt says.
QString playWithPerson(Bench& bench, const Scenario& scenario, const PodPlan& usual,
                       BenchWindow* window)
{
    ScenarioRunner runner(bench, scenario,
                          window != nullptr ? ScenarioRunner::Mode::Watched
                                            : ScenarioRunner::Mode::Attended);
    const Prompt prompt(bench, usual);
    QString next = watch(bench, runner, scenario, usual, window);
    for (const QString& problem : runner.problems())
        QTextStream(stderr) << problem << '\n';
    return next;
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

/// The exit code, and the scenario that the person wants to see next.
std::pair<int, QString> playOne(const Options& options, Interruption& interruption,
                                BenchWindow* window)
{
    const Scenario scenario = scenarioOf(options);
    Bench bench({QFileInfo(options.station_program).absoluteFilePath(), options.kept_folder,
                 options.seed, options.verbose, siteOf(options)},
                scenario);
    tellOfFirmware(bench.firmware());
    QObject::connect(&interruption, &Interruption::requested, &bench, [&bench] {
        QTextStream(stderr) << "Waiting for the station to quit; again ends the bench at once.\n";
        bench.perform(verb::Quit{});
    });
    if (options.once)
        return {playOnce(bench, scenario, options.usual_pod, window), {}};
    return {0, playWithPerson(bench, scenario, options.usual_pod, window)};
}

/// One bench after the other, as scenarios are chosen in the window; each keeps its files apart.
int play(Options options, BenchWindow* window)
{
    Interruption interruption; // first: the bench makes folders that are not to be left behind
    const QString kept_folder = options.kept_folder;
    for (int bench = 2;; ++bench) {
        const auto [exit_code, next] = playOne(options, interruption, window);
        if (next.isEmpty())
            return exit_code;
        options.scenario_file = next;
        if (!kept_folder.isEmpty())
            options.kept_folder = QStringLiteral("%1-%2").arg(kept_folder).arg(bench);
    }
}

Options withStation(Options options)
{
    if (options.station_program.isEmpty())
        options.station_program = options.board_folder.isEmpty()
                                      ? companions::path("corvane")
                                      : companions::stationOfBoard(options.board_folder);
    needStation(options.station_program);
    return options;
}

/// A disk of the station's own has to be mounted.
bool needsOwnMounts(const Options& options)
{
    return scenarioOf(options).disk_bytes > 0 && !programagain::hasOwnMounts();
}

int runInWindow(char** argv, const Options& options)
{
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    int only_its_name = 1; // Qt has an option --display of its own
    const QGuiApplication application(only_its_name, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const Options complete = withStation(options);
    BenchWindow window;
    return play(complete, &window);
}

int run(int argc, char** argv)
{
    const QStringList arguments = argumentsOf(argc, argv);
    const Options options = parseOptions(arguments);
    if (needsOwnMounts(options))
        programagain::withOwnMounts(arguments);
    const Display display = displayOf(options);
    if (display == Display::Window)
        return runInWindow(argv, options);
    const QCoreApplication application(argc, argv);
    if (options.help) {
        QTextStream(stdout) << optionsHelp();
        return 0;
    }
    if (display == Display::Vnc)
        programagain::onOwnDisplay(arguments);
    const Options complete = withStation(options);
    return options.explored_days > 0 ? explore(complete) : play(complete, nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    // The arguments are read before there is an application.
    std::setlocale(LC_ALL, ""); // NOLINT(concurrency-mt-unsafe): no thread yet
    try {
        return run(argc, argv);
    } catch (const BadInput& bad) {
        QTextStream(stderr) << "corvane-sim: " << bad.text() << '\n';
        return kBadInput;
    }
}
