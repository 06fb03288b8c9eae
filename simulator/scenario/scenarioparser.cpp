#include "scenario/scenarioparser.h"

#include "scenario/jsonplace.h"
#include "scenario/stickparser.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <functional>
#include <limits>

namespace {

constexpr int kPanelLeast = -2;
constexpr int kPanelMost = 2;
constexpr quint64 kMostHole = std::numeric_limits<quint32>::max();
constexpr int kMost = std::numeric_limits<int>::max();

QString key(const char* name)
{
    return QLatin1String(name);
}

PodFault faultOf(const JsonPlace& place)
{
    return place.parsed(faultFromText);
}

QByteArray udidFromText(const QString& text)
{
    QByteArray udid = QByteArray::fromHex(text.toLatin1());
    if (udid.size() != 8 || text.size() != 16)
        throw BadInput(QStringLiteral("an identifier has 16 hexadecimal digits"));
    return udid;
}

SizeRange sizeOf(const JsonPlace& place)
{
    if (!place.isNumber())
        return place.parsed(sizeRangeFromText);
    const auto bytes = static_cast<quint32>(place.number(0, kMost));
    return {bytes, bytes};
}

/// A pod that never comes to its byte would be taken for one that left there.
void checkUnplugByte(const JsonPlace& place, const PodPlan& plan)
{
    if (plan.fault != PodFault::UnpluggedAtByte && plan.fault != PodFault::DisconnectAtByte)
        place.refuse(QStringLiteral("this needs a fault: %1, %2")
                         .arg(podFaultName(PodFault::UnpluggedAtByte),
                              podFaultName(PodFault::DisconnectAtByte)));
    if (plan.fault == PodFault::UnpluggedAtByte && plan.unplug_at_byte > plan.size.min_bytes)
        place.refuse(QStringLiteral("the recording may have fewer bytes"));
}

/// Takes from `place` what it says about a pod, and leaves the rest of `plan` as it is.
void readPlan(const JsonPlace& place, PodPlan& plan)
{
    const QMap<QString, std::function<void(const JsonPlace&)>> readers{
        {key("pod"), [&](const JsonPlace& value) { plan.pod = value.number(0, kSlotCount - 1); }},
        {key("size"), [&](const JsonPlace& value) { plan.size = sizeOf(value); }},
        {key("speed"),
         [&](const JsonPlace& value) { plan.bytes_per_second = value.number(0, kMost); }},
        {key("polls until charged"),
         [&](const JsonPlace& value) { plan.polls_until_charged = value.number(0, kMost); }},
        {key("fault"), [&](const JsonPlace& value) { plan.fault = faultOf(value); }},
        {key("unplug at byte"),
         [&](const JsonPlace& value) { plan.unplug_at_byte = value.number(1, kMost); }},
        {key("bootloader"), [&](const JsonPlace& value) { plan.in_bootloader = value.flag(); }},
        {key("resume at byte"),
         [&](const JsonPlace& value) {
             plan.resume_at_byte = static_cast<quint32>(value.bytes(kFlashBytes));
         }},
        {key("restart time"),
         [&](const JsonPlace& value) {
             plan.restart_time =
                 std::chrono::milliseconds(static_cast<int>(value.seconds() * 1000));
         }},
        {key("udid"), [&](const JsonPlace& value) { plan.udid = value.parsed(udidFromText); }},
    };
    place.allowMembers(readers.keys() << key("slots") << key("plugged"));
    for (auto reader = readers.begin(); reader != readers.end(); ++reader)
        if (place.has(reader.key()))
            reader.value()(place.member(reader.key()));
    if (place.has(key("unplug at byte")))
        checkUnplugByte(place.member(key("unplug at byte")), plan);
}

void readPods(const JsonPlace& place, Scenario& scenario)
{
    for (const JsonPlace& pod : place.elements()) {
        const SlotSet slot_set = pod.member(key("slots")).slotSet();
        for (int slot = 0; slot < kSlotCount; ++slot)
            if (slot_set.test(slot))
                readPlan(pod, scenario.plans.at(slot));
        if (!pod.has(key("plugged")) || pod.member(key("plugged")).flag())
            scenario.plugged |= slot_set;
        else
            scenario.plugged &= ~slot_set;
    }
}

FirmwarePlan firmwarePlanOf(const JsonPlace& place, const QString& file_name)
{
    place.allowMembers({key("file"), key("size"), key("escaped reply")});
    if (place.has(key("file")) == place.has(key("size")))
        place.refuse(QStringLiteral("one of file, size is needed here"));
    FirmwarePlan plan;
    if (place.has(key("file"))) // as the scenario's author sees it
        plan.file = QFileInfo(file_name).dir().filePath(place.member(key("file")).text());
    else
        plan.size_bytes = static_cast<quint32>(place.member(key("size")).bytes(kFlashBytes));
    if (place.has(key("escaped reply")))
        plan.escaped_reply = place.member(key("escaped reply")).flag();
    return plan;
}

/// As the author of the scenario's file sees the folder.
void findFolder(StickPlan& stick, const QString& file_name)
{
    if (!stick.folder.isEmpty())
        stick.folder = QFileInfo(file_name).dir().filePath(stick.folder);
}

verb::Plug plugOf(const JsonPlace& place, const PodPlan& usual)
{
    if (!place.isObject())
        return {place.slotSet(), std::nullopt};
    PodPlan plan = usual;
    readPlan(place, plan);
    return {place.member(key("slots")).slotSet(), plan};
}

verb::SetFault setFaultOf(const JsonPlace& place)
{
    place.allowMembers({key("slots"), key("fault")});
    return {place.member(key("slots")).slotSet(), faultOf(place.member(key("fault")))};
}

verb::Touch touchOf(const JsonPlace& place)
{
    const auto numbers = place.elements();
    if (numbers.size() != 2)
        place.refuse(QStringLiteral("a touch is [x, y]"));
    return {QPoint(numbers[0].number(0, 479), numbers[1].number(0, 271))};
}

verb::Screenshot screenshotOf(const JsonPlace& place)
{
    return {place.text()};
}

Verb stationVerbOf(const JsonPlace& place)
{
    static const QMap<QString, Verb> verbs{{key("quit"), verb::Quit{}},
                                           {key("stop"), verb::StopStation{}},
                                           {key("kill"), verb::KillStation{}},
                                           {key("restart"), verb::RestartStation{}},
                                           {key("measure"), verb::MeasureStation{}}};
    const QString name = place.text();
    if (!verbs.contains(name))
        place.refuse(QStringLiteral("unknown '%1'; a station can: %2")
                         .arg(name, verbs.keys().join(QStringLiteral(", "))));
    return verbs.value(name);
}

using VerbReader = std::function<Verb(const JsonPlace&)>;

QMap<QString, VerbReader> verbReaders(const PodPlan& usual)
{
    return {
        {key("plug"), [&usual](const JsonPlace& place) { return plugOf(place, usual); }},
        {key("unplug"),
         [](const JsonPlace& place) -> Verb { return verb::Unplug{place.slotSet()}; }},
        {key("fault"), setFaultOf},
        {key("stick"), stickVerbOf},
        {key("grow archive"),
         [](const JsonPlace& place) -> Verb { return verb::GrowArchive{place.bytes(kMostHole)}; }},
        {key("touch"), touchOf},
        {key("screenshot"), screenshotOf},
        {key("station"), stationVerbOf},
    };
}

using Kind = Condition::Kind;

Condition conditionOf(const QString& event, const JsonPlace& value)
{
    static const QMap<QString, Kind> of_slots{{key("readout begun"), Kind::ReadoutBegun},
                                              {key("erased"), Kind::Erased},
                                              {key("readout completed"), Kind::ReadoutCompleted},
                                              {key("charging"), Kind::Charging},
                                              {key("charged"), Kind::Charged},
                                              {key("vanished"), Kind::Vanished},
                                              {key("bootloader"), Kind::Bootloader},
                                              {key("updating"), Kind::Updating},
                                              {key("updated"), Kind::Updated},
                                              {key("gauge full"), Kind::GaugeFull},
                                              {key("gauge empty"), Kind::GaugeEmpty}};
    if (of_slots.contains(event))
        return {of_slots.value(event), value.slotSet(), QString(), 0};
    if (event == key("panel"))
        return {Kind::Panel, SlotSet(), QString(), value.number(kPanelLeast, kPanelMost)};
    if (event == key("pod threads"))
        return {Kind::PodThreads, SlotSet(), QString(), value.number(0, kSlotCount)};
    if (event == key("run log"))
        return {Kind::RunLog, SlotSet(), value.text(), 0};
    if (event == key("stick lacks"))
        return {Kind::StickLacks, SlotSet(), value.text(), 0};
    if (event == key("stick mounted"))
        return {Kind::StickMounted, SlotSet(), QString(), value.flag() ? 1 : 0};
    if (event == key("ended")) {
        if (!value.flag())
            value.refuse(QStringLiteral("only true makes sense here"));
        return {Kind::Ended, SlotSet(), QString(), 0};
    }
    value.refuse(
        QStringLiteral("unknown event; known are: log, run log, panel, pod threads, stick bytes, "
                       "stick lacks, stick mounted, station bytes, ended, %1")
            .arg(QStringList(of_slots.keys()).join(QStringLiteral(", "))));
}

/// {"FILE": least bytes}, one condition a file.
void readBytes(const JsonPlace& files, Kind kind, Step& step)
{
    if (files.memberNames().isEmpty())
        files.refuse(QStringLiteral("a file and its least bytes are needed here"));
    for (const QString& name : files.memberNames()) {
        const JsonPlace least = files.member(name);
        if (QDir::isAbsolutePath(name) || name.contains(QLatin1String("..")))
            least.refuse(QStringLiteral("a name below the folder is needed here"));
        step.conditions.push_back({kind, SlotSet(), name, least.number(0, kMost)});
    }
}

void readLog(const JsonPlace& after, Step& step)
{
    const int times = after.has(key("times")) ? after.member(key("times")).number(1, kMost) : 1;
    for (const QString& text : after.member(key("log")).oneOrMoreTexts())
        step.conditions.push_back({Kind::Log, SlotSet(), text, times});
}

void readAfter(const JsonPlace& after, Step& step)
{
    if (after.memberNames().isEmpty())
        after.refuse(QStringLiteral("an event is needed here"));
    for (const QString& event : after.memberNames()) {
        if (event == key("log") || (event == key("times") && !after.has(key("log"))))
            readLog(after, step);
        else if (event == key("stick bytes"))
            readBytes(after.member(event), Kind::StickBytes, step);
        else if (event == key("station bytes"))
            readBytes(after.member(event), Kind::StationBytes, step);
        else if (event != key("times"))
            step.conditions.push_back(conditionOf(event, after.member(event)));
    }
}

std::chrono::milliseconds durationOf(const JsonPlace& place)
{
    return std::chrono::milliseconds(static_cast<qint64>(place.seconds() * 1000));
}

void readWhen(const JsonPlace& place, Step& step)
{
    if (place.has(key("at")))
        step.conditions.push_back({Kind::Time, SlotSet(), QString(),
                                   static_cast<int>(durationOf(place.member(key("at"))).count())});
    if (place.has(key("after")))
        readAfter(place.member(key("after")), step);
    if (place.has(key("wait")))
        step.wait = durationOf(place.member(key("wait")));
    if (place.has(key("patience")))
        step.patience = durationOf(place.member(key("patience")));
    if (place.has(key("if possible")))
        step.if_possible = place.member(key("if possible")).flag();
}

Step readStep(const JsonPlace& place, const QString& name, const PodPlan& usual)
{
    const auto readers = verbReaders(usual);
    place.allowMembers(QStringList(readers.keys()) << key("at") << key("after") << key("wait")
                                                   << key("patience") << key("if possible"));
    Step step;
    step.action = verb::Help{};
    step.place = name;
    readWhen(place, step);
    int verbs = 0;
    for (auto reader = readers.begin(); reader != readers.end(); ++reader) {
        if (!place.has(reader.key()))
            continue;
        step.action = reader.value()(place.member(reader.key()));
        ++verbs;
    }
    if (verbs != 1)
        place.refuse(QStringLiteral("a step does one thing: %1")
                         .arg(QStringList(readers.keys()).join(QStringLiteral(", "))));
    return step;
}

void readSteps(const JsonPlace& place, const QString& file_name, const PodPlan& usual,
               Scenario& scenario)
{
    for (const JsonPlace& element : place.elements()) {
        Step step =
            readStep(element, QStringLiteral("step %1").arg(scenario.steps.size() + 1), usual);
        if (auto* stick = std::get_if<verb::Stick>(&step.action); stick != nullptr && stick->other)
            findFolder(*stick->other, file_name);
        scenario.steps.push_back(step);
    }
}

/// Those that note their runs; of any other nobody would know.
QStringList toolsOf(const JsonPlace& place)
{
    static const QStringList noted{key("blkid"), key("lsusb"), key("mount"), key("umount")};
    for (const QString& tool : place.texts())
        if (!noted.contains(tool))
            place.refuse(QStringLiteral("'%1' is none of the station's tools: %2")
                             .arg(tool, noted.join(QStringLiteral(", "))));
    return place.texts();
}

void readPunctual(const JsonPlace& place, Expectations& expect)
{
    place.allowMembers({key("slots"), key("seconds")});
    expect.punctual = place.member(key("slots")).slotSet();
    expect.punctual_limit = std::chrono::seconds(place.member(key("seconds")).number(1, kMost));
}

Expectations readExpectations(const JsonPlace& place)
{
    Expectations expect;
    const QMap<QString, std::function<void(const JsonPlace&)>> readers{
        {key("archived"), [&](const JsonPlace& value) { expect.archived = value.slotSet(); }},
        {key("erased"), [&](const JsonPlace& value) { expect.erased = value.slotSet(); }},
        {key("delivered"), [&](const JsonPlace& value) { expect.delivered = value.slotSet(); }},
        {key("kept"), [&](const JsonPlace& value) { expect.kept = value.slotSet(); }},
        {key("updated"), [&](const JsonPlace& value) { expect.updated = value.slotSet(); }},
        {key("infos contain"),
         [&](const JsonPlace& value) { expect.infos_contain = value.texts(); }},
        {key("log contains"), [&](const JsonPlace& value) { expect.log_contains = value.texts(); }},
        {key("log lacks"), [&](const JsonPlace& value) { expect.log_lacks = value.texts(); }},
        {key("warnings"), [&](const JsonPlace& value) { expect.warnings = value.texts(); }},
        {key("entries"), [&](const JsonPlace& value) { expect.entries = value.number(0, kMost); }},
        {key("exit code"),
         [&](const JsonPlace& value) { expect.exit_code = value.number(0, 255); }},
        {key("local archives"),
         [&](const JsonPlace& value) { expect.local_archives = value.texts(); }},
        {key("backup"), [&](const JsonPlace& value) { expect.backup = value.texts(); }},
        {key("erased archives"),
         [&](const JsonPlace& value) { expect.erased_archives = value.texts(); }},
        {key("stick holds"), [&](const JsonPlace& value) { expect.stick_holds = value.texts(); }},
        {key("stick lacks"), [&](const JsonPlace& value) { expect.stick_lacks = value.texts(); }},
        {key("stick keeps"), [&](const JsonPlace& value) { expect.stick_keeps = value.texts(); }},
        {key("station lacks"),
         [&](const JsonPlace& value) { expect.station_lacks = value.texts(); }},
        {key("panel shown"),
         [&](const JsonPlace& value) {
             expect.panel_shown = value.numbers(kPanelLeast, kPanelMost);
         }},
        {key("panel never"),
         [&](const JsonPlace& value) {
             expect.panel_never = value.numbers(kPanelLeast, kPanelMost);
         }},
        {key("never run"), [&](const JsonPlace& value) { expect.never_run = toolsOf(value); }},
        {key("punctual"), [&](const JsonPlace& value) { readPunctual(value, expect); }},
        {key("settled"), [&](const JsonPlace& value) { expect.settled = value.flag(); }},
        {key("on stick"), [&](const JsonPlace& value) { expect.on_stick = value.flag(); }},
    };
    place.allowMembers(readers.keys());
    for (auto reader = readers.begin(); reader != readers.end(); ++reader)
        if (place.has(reader.key()))
            reader.value()(place.member(reader.key()));
    return expect;
}

bool breaksUpdates(const Step& step)
{
    if (const auto* plug = std::get_if<verb::Plug>(&step.action))
        return plug->plan && isOfBootloader(plug->plan->fault);
    const auto* fault = std::get_if<verb::SetFault>(&step.action);
    return fault != nullptr && isOfBootloader(fault->fault);
}

bool breaksUpdates(const Scenario& scenario)
{
    return std::any_of(scenario.plans.begin(), scenario.plans.end(),
                       [](const PodPlan& plan) { return isOfBootloader(plan.fault); }) ||
           std::any_of(scenario.steps.begin(), scenario.steps.end(),
                       [](const Step& step) { return breaksUpdates(step); });
}

} // namespace

Scenario parseScenario(const QByteArray& json, const QString& file_name, const PodPlan& usual)
{
    const JsonPlace file = JsonPlace::parse(json, file_name);
    file.allowMembers({key("name"), key("pods"), key("stick"), key("steps"), key("expect"),
                       key("time limit"), key("download space"), key("archives"), key("firmware")});
    Scenario scenario;
    scenario.name = file.member(key("name")).text();
    scenario.plans.fill(usual);
    if (file.has(key("pods")))
        readPods(file.member(key("pods")), scenario);
    if (file.has(key("stick")))
        scenario.stick = stickPlanOf(file.member(key("stick")));
    findFolder(scenario.stick, file_name);
    if (file.has(key("firmware")))
        scenario.firmware = firmwarePlanOf(file.member(key("firmware")), file_name);
    if (file.has(key("archives")))
        scenario.earlier = earlierPlanOf(file.member(key("archives")));
    if (file.has(key("download space")))
        scenario.download_space_bytes = sizeOf(file.member(key("download space"))).max_bytes;
    if (file.has(key("time limit")))
        scenario.time_limit = std::chrono::seconds(file.member(key("time limit")).number(1, 86400));
    readSteps(file.member(key("steps")), file_name, usual, scenario);
    scenario.expect = readExpectations(file.member(key("expect")));
    if (scenario.expect.updated.any() && !scenario.firmware)
        file.refuse(QStringLiteral("'updated' is expected, but there is no 'firmware'"));
    if (breaksUpdates(scenario) && !scenario.firmware)
        file.refuse(QStringLiteral("a fault is one of updates, but there is no 'firmware'"));
    return scenario;
}
