#include "explore/dayinventor.h"

#include "common/panelcode.h"
#include "common/slotset.h"
#include "explore/dice.h"
#include "explore/json.h"
#include "explore/stickinventor.h"

#include <QDateTime>

#include <array>

using json::ifPossible;
using json::list;
using json::object;
using json::with;

namespace {

/// What one episode may wait for something that may never come.
constexpr double kPatience = 7;
/// Takes no memory before something is on it.
constexpr int kDiskBytes = 1 << 30;

QJsonObject after(const char* what, const json::Value& value)
{
    return object({{"after", object({{what, value}})}});
}

std::vector<PodFault> faultsOf(bool machine, bool firmware)
{
    const PodFault last = firmware ? PodFault::FirmwareAbsent : PodFault::SizeAbsurd;
    std::vector<PodFault> faults;
    for (auto fault = int(PodFault::NoAnswer); fault <= int(last); ++fault)
        if (!machine || (fault != int(PodFault::ClaimBusy) && fault != int(PodFault::DriverBusy)))
            faults.push_back(PodFault(fault));
    return faults;
}

/// On a stick with firmware, nothing else has its name.
QJsonObject withPackage(QJsonObject stick)
{
    QJsonObject content = stick[QStringLiteral("content")].toObject();
    content.remove(QStringLiteral("app.zip"));
    stick.insert(QStringLiteral("content"), content);
    return stick;
}

/// Makes one day; of no use afterwards.
class Inventor
{
public:
    Inventor(quint64 seed, const DayLimits& limits)
        : m_limits(limits)
        , m_dice(seed)
        , m_sticks(m_dice, limits.machine)
        , m_firmware(!limits.machine && m_dice.chance(20))
        , m_faults(faultsOf(limits.machine, m_firmware))
    {
        m_day.seed = seed;
        m_day.machine = limits.machine;
        m_fault_percent = m_dice.oneOf({0, 15, 50, 90});
        for (int& weight : m_weights)
            weight = m_dice.chance(30) ? 0 : 1 << m_dice.number(0, 4);
        m_weights[Plug] += 4; // or nothing would happen at all
    }

    Day invent()
    {
        inventPods();
        inventMorning();
        const int most = std::max(1, m_limits.most_episodes);
        const int count = std::max(m_dice.magnitude(1, most), m_dice.number(1, most) / 2);
        for (int i = 0; i < count; ++i)
            add(static_cast<Kind>(m_dice.weighted({m_weights.begin(), m_weights.end()})));
        // Last: what is drawn for it changes nothing else of a day.
        if (m_dice.chance(10))
            fillDisk();
        if (!m_limits.machine && m_dice.chance(30))
            addBadStick();
        return m_day;
    }

private:
    enum Kind { Plug, Unplug, Move, StickOut, OtherStick, Kill, Stop, Quit, Clock, Touch, Kinds };

    void inventPods();
    DayPod inventPod(int number);
    void shareNames();
    void inventMorning();
    int someDownloadSpace();
    void add(Kind kind);
    void addPlug(int pod);
    void addUnplug(int pod);
    void addSteps(const QJsonArray& steps) { m_day.episodes.push_back({{}, steps}); }
    QJsonObject anotherStick();
    static void addRestart(QJsonArray& steps);
    void addOutage(const char* how);
    void addBadStick();
    void fillDisk();
    void leaveRoom(int bytes);
    QJsonObject plugStep(const DayPod& pod, int slot);
    QJsonObject someTime() { return object({{"wait", m_dice.seconds(3)}}); }
    QJsonObject somePhase(int slot);
    QJsonObject someMoment();
    QString someClock();
    const DayPod& somePod() { return m_dice.oneOf(m_day.pods); }

    DayLimits m_limits;
    Day m_day;
    Dice m_dice;
    StickInventor m_sticks;
    bool m_firmware;
    std::vector<PodFault> m_faults;
    int m_fault_percent;
    std::array<int, Kinds> m_weights{};
    std::array<std::optional<int>, kSlotCount> m_slot_of{}; ///< by pod, as far as is known
};

void Inventor::inventPods()
{
    std::vector<int> numbers;
    for (int number = 0; number < kSlotCount; ++number)
        numbers.insert(numbers.begin() + m_dice.number(0, number), number);
    // Rarely all thirty: they take half a minute from the first to the last.
    const int count = m_dice.chance(10) ? m_dice.number(9, kSlotCount) : m_dice.number(1, 8);
    for (int i = 0; i < count; ++i)
        m_day.pods.push_back(inventPod(numbers[static_cast<std::size_t>(i)]));
    if (m_day.pods.front().isEmpty()) // of a day with nothing to bring, there is no picture
        m_day.pods.front().size_bytes = 16384;
    if (m_dice.chance(20))
        shareNames();
    // Nobody need be where he was; and low slots are served sooner.
    std::vector<int> slot_list;
    for (int slot = 0; slot < std::max(count, 12); ++slot)
        slot_list.insert(slot_list.begin() + m_dice.number(0, slot), slot);
    for (DayPod& pod : m_day.pods) {
        pod.calm_slot = slot_list.back();
        slot_list.pop_back();
    }
}

DayPod Inventor::inventPod(int number)
{
    DayPod pod;
    pod.number = number;
    pod.size_bytes = m_dice.chance(50) ? m_dice.oneOf({0, 1, 511, 512, 513, 16383, 16384, 16385})
                                       : m_dice.magnitude(1, 3'000'000);
    pod.speed = m_dice.chance(50) ? 0 : m_dice.magnitude(30'000, 1'200'000);
    pod.speed = pod.speed == 0 ? 0 : std::max(pod.speed, pod.size_bytes / 8);
    return pod;
}

/// Of the sixteen digits, the last is not in the name of a recording.
void Inventor::shareNames()
{
    const int sharing = m_dice.number(2, 4);
    for (int i = 0; i < sharing; ++i) {
        DayPod& pod = m_day.pods[static_cast<std::size_t>(
            m_dice.number(0, static_cast<int>(m_day.pods.size()) - 1))];
        pod.udid = QStringLiteral("5A5A00000000000%1").arg(m_dice.chance(50) ? 0 : i);
    }
}

void Inventor::inventMorning()
{
    m_day.stick = m_sticks.stick();
    if (m_firmware) {
        m_day.stick = withPackage(m_day.stick);
        m_day.settings.insert(QStringLiteral("firmware"),
                              object({{"size", m_dice.magnitude(2'000, 60'000)}}));
    }
    m_day.stick.insert(QStringLiteral("inserted"), m_dice.chance(60));
    if (m_dice.chance(30))
        m_day.settings.insert(
            QStringLiteral("archives"),
            object({{"count", m_dice.number(1, 12)}, {"size", m_dice.magnitude(1, 200'000)}}));
    // Its calm serves them one after the other.
    if (!m_day.machine && m_day.pods.size() <= 8 && m_dice.chance(15))
        m_day.settings.insert(QStringLiteral("download space"), someDownloadSpace());
    const int plugged =
        std::min(m_dice.number(0, static_cast<int>(m_day.pods.size())), m_limits.most_episodes);
    for (int i = 0; i < plugged; ++i)
        addPlug(m_day.pods[static_cast<std::size_t>(i)].number);
}

/// With the reserve that is kept free of read-outs, there is room for each of them, but not for
/// many at once.
int Inventor::someDownloadSpace()
{
    int largest_bytes = 0;
    for (const DayPod& pod : m_day.pods)
        largest_bytes = std::max(largest_bytes, pod.size_bytes);
    return 16 * 1024 * 1024 + largest_bytes + m_dice.magnitude(32 * 1024, 1'000'000);
}

void Inventor::add(Kind kind)
{
    switch (kind) {
    case Plug:
        return addPlug(somePod().number);
    case Unplug:
        return addUnplug(somePod().number);
    case Move: {
        const int pod = somePod().number;
        addUnplug(pod);
        return addPlug(pod);
    }
    case StickOut:
        return addSteps({ifPossible(
            with(someMoment(), object({{"stick", m_dice.chance(60) ? "out" : "in"}})))});
    case OtherStick:
        return addSteps({ifPossible(with(someMoment(), object({{"stick", "out"}}))),
                         ifPossible(with(someTime(), anotherStick()))});
    case Kill:
        return addOutage("kill");
    case Stop:
        return addOutage("stop");
    case Quit:
        return addOutage("quit");
    case Clock: // elsewhere it is this computer's, and the step is left out
        return addSteps({ifPossible(with(someMoment(), object({{"clock", someClock()}})))});
    default:
        return addSteps({ifPossible(
            with(someTime(),
                 object({{"touch", list({m_dice.number(60, 479), m_dice.number(60, 271)})}})))});
    }
}

/// Where there can be only one, the same again.
QJsonObject Inventor::anotherStick()
{
    if (m_day.machine)
        return object({{"stick", "in"}});
    QJsonObject stick = m_sticks.stick();
    if (m_firmware && m_dice.chance(30))
        stick = with(withPackage(stick), object({{"package", true}}));
    return object({{"stick", stick}});
}

QJsonObject Inventor::plugStep(const DayPod& pod, int slot)
{
    QJsonObject plan = object({{"slots", slot},
                               {"pod", pod.number},
                               {"size", pod.size_bytes},
                               {"speed", pod.speed},
                               {"polls until charged", m_dice.number(0, 1)}});
    if (!pod.udid.isEmpty())
        plan.insert(QStringLiteral("udid"), pod.udid);
    if (m_dice.chance(m_fault_percent)) {
        const PodFault fault = m_dice.oneOf(m_faults);
        if (fault != PodFault::UnpluggedAtByte || pod.size_bytes > 1) {
            plan.insert(QStringLiteral("fault"), podFaultName(fault));
            if (fault == PodFault::UnpluggedAtByte)
                plan.insert(QStringLiteral("unplug at byte"), m_dice.number(1, pod.size_bytes));
        }
    }
    return ifPossible(object({{"plug", plan}}));
}

/// Where it was, or somewhere else.
void Inventor::addPlug(int pod)
{
    const auto found = std::find_if(m_day.pods.begin(), m_day.pods.end(),
                                    [pod](const DayPod& one) { return one.number == pod; });
    auto& slot = m_slot_of.at(static_cast<std::size_t>(pod));
    if (!slot || m_dice.chance(30))
        slot = m_dice.chance(80) ? m_dice.number(0, 9) : m_dice.number(0, kSlotCount - 1);
    m_day.episodes.push_back({pod, {with(someTime(), plugStep(*found, *slot))}});
}

void Inventor::addUnplug(int pod)
{
    const auto slot = m_slot_of.at(static_cast<std::size_t>(pod));
    if (slot)
        m_day.episodes.push_back(
            {pod, {ifPossible(with(somePhase(*slot), object({{"unplug", *slot}})))}});
}

QJsonObject Inventor::somePhase(int slot)
{
    const char* const phase = m_firmware && m_dice.chance(50)
                                  ? m_dice.oneOf({"bootloader", "updating", "updated"})
                                  : m_dice.oneOf({"readout begun", "readout completed", "erased",
                                                  "charging", "charged", "gauge full", ""});
    if (*phase == '\0')
        return someTime();
    return with(after(phase, slot),
                object({{"patience", kPatience}, {"wait", m_dice.number(0, 3) * 0.05}}));
}

/// When the station or a pod has come to something, or just like that.
QJsonObject Inventor::someMoment()
{
    const auto slot = m_slot_of.at(static_cast<std::size_t>(somePod().number));
    const double a_little = m_dice.chance(50) ? 0 : m_dice.seconds(1);
    const QJsonObject limits = object({{"patience", kPatience}, {"wait", a_little}});
    switch (m_dice.number(0, 6)) {
    case 0:
        return with(after("stick bytes", object({{".corvane.new", m_dice.magnitude(1, 100'000)}})),
                    limits);
    case 1:
        return with(after("stick bytes", object({{"QVX_DATAS.cvx", 1}})), limits);
    case 2:
        return with(after("stick mounted", true), limits);
    case 3:
        return with(after("panel", m_dice.number(-2, 2)), limits);
    case 4:
        return with(after("station bytes", object({{"backup.zip", 1}})), limits);
    default:
        return slot ? somePhase(*slot) : someTime();
    }
}

/// Before a clock was ever set, when 32 bits are full, or some day between.
QString Inventor::someClock()
{
    const auto seconds = m_dice.oneOf<qint64>(
        {0, 2'147'483'600, m_dice.number(1'000'000'000, 2'000'000'000), 4'294'967'200});
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
}

void Inventor::addRestart(QJsonArray& steps)
{
    steps += with(after("ended", true), object({{"station", "restart"}}));
    // Asked to end before it can hear, it would be killed.
    steps += ifPossible(with(after("run log", "Version:"), object({{"touch", list({240, 136})}})));
}

/// The station goes off, and on again; in between, people do as they like.
void Inventor::addOutage(const char* how)
{
    const QJsonObject ended = after("ended", true);
    QJsonArray steps{ifPossible(with(someMoment(), object({{"station", how}})))};
    if (m_dice.chance(50)) {
        steps += ifPossible(with(ended, object({{"stick", "out"}})));
        if (m_dice.chance(80))
            steps += ifPossible(with(ended, anotherStick()));
    }
    if (m_dice.chance(30))
        steps += with(ended, plugStep(somePod(), m_dice.number(0, 9)));
    addRestart(steps);
    addSteps(steps);
}

/// When somebody has brought what a stick is to be given, a bad one comes, perhaps to a station
/// that has begun another archive meanwhile.
void Inventor::addBadStick()
{
    const int slot = m_dice.number(0, 9);
    const QJsonObject erased = with(after("erased", slot), object({{"patience", kPatience}}));
    QJsonArray steps{ifPossible(object({{"stick", "out"}})), plugStep(somePod(), slot)};
    if (m_dice.chance(50)) {
        steps += ifPossible(with(erased, object({{"station", m_dice.oneOf({"kill", "stop"})}})));
        addRestart(steps);
    }
    steps += ifPossible(with(erased, object({{"stick", m_sticks.badStick()}})));
    steps +=
        ifPossible(with(with(after("panel", kPanelCopyFailed), object({{"patience", kPatience}})),
                        object({{"touch", list({240, 136})}})));
    addSteps(steps);
}

/// Something else takes the room on the station's disk, and sometimes gives it back. Read-outs are
/// begun only where there is plenty: with a disk of their own, it is the archive that meets the
/// end.
void Inventor::fillDisk()
{
    m_day.settings.insert(QStringLiteral("disk"), kDiskBytes);
    if (!m_day.machine && m_day.pods.size() <= 8 && m_dice.chance(60))
        m_day.settings.insert(QStringLiteral("download space"), kDiskBytes);
    const int times = m_dice.number(1, 3);
    for (int i = 0; i < times; ++i)
        leaveRoom(m_dice.magnitude(1, 500'000));
    if (m_dice.chance(30))
        leaveRoom(kDiskBytes);
}

/// In the morning, or at some moment of the day.
void Inventor::leaveRoom(int bytes)
{
    const QJsonObject room = ifPossible(object({{"room", bytes}}));
    const bool early = m_dice.chance(30);
    const int at = early ? 0 : m_dice.number(0, static_cast<int>(m_day.episodes.size()));
    m_day.episodes.insert(m_day.episodes.begin() + at,
                          {{}, {early ? room : with(someMoment(), room)}});
}

} // namespace

Day inventDay(quint64 seed, const DayLimits& limits)
{
    return Inventor(seed, limits).invent();
}
