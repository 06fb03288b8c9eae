// Prints where the processor of the station's own kind of board goes, by function, while thirty
// gauges pulse and while thirty pods are archived. Usage: board_profile FOLDER-OF-THE-BOARD
#include "boardrun.h"
#include "common/companions.h"
#include "figures.h"
#include "profile.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <stdexcept>

namespace {

const SlotSet kAll = firstSlots(kSlotCount);

/// A board whose emulator notes what it executes.
class SampledRun
{
public:
    SampledRun(const QString& board, const Scenario& scenario)
        : m_computer(sampled(board, m_folder.filePath(QStringLiteral("samples"))))
        , m_places{{m_computer.program_folder, m_computer.root},
                   board + QStringLiteral("/symbols/usr/lib/debug")}
        , m_run(m_computer, companions::stationOfBoard(board), scenario)
    {
    }

    BoardRun& run() { return m_run; }

    /// Of all that the board executes while `work` lasts.
    template <typename Work>
    void print(QTextStream& out, const char* title, Work work)
    {
        const BoardRun::Usage before = m_run.usage();
        const qint64 begin = samplesSize();
        work();
        const qint64 end = samplesSize();
        const BoardRun::Usage after = m_run.usage();
        Profile profile(m_places,
                        m_run.ask(QStringLiteral("cat /proc/%1/maps").arg(m_run.stationPid())),
                        m_run.ask(QStringLiteral("grep -i ' t ' /proc/kallsyms")));
        profile.add(samples(begin, end));
        out << "\n### " << title << "\n\nThe station used "
            << figures::number(after.own - before.own, 2) << " s of "
            << figures::number(after.at - before.at, 1) << " s.\n\n";
        profile.print(out);
    }

private:
    static Computer sampled(const QString& board, const QString& file)
    {
        Computer computer = Computer::board(board).measured();
        computer.plugin = QStringLiteral("%1/board_sampler.so,out=%2")
                              .arg(QCoreApplication::applicationDirPath(), file);
        return computer;
    }

    qint64 samplesSize() const
    {
        return QFile(m_folder.filePath(QStringLiteral("samples"))).size();
    }

    std::vector<quint32> samples(qint64 begin, qint64 end) const
    {
        QFile file(m_folder.filePath(QStringLiteral("samples")));
        std::vector<quint32> read(std::size_t(end - begin) / sizeof(quint32));
        if (!file.open(QIODevice::ReadOnly) || !file.seek(begin) ||
            file.read(reinterpret_cast<char*>(read.data()), end - begin) != end - begin)
            throw std::runtime_error("the emulator has noted nothing");
        return read;
    }

    QTemporaryDir m_folder;
    Computer m_computer;
    Profile::Places m_places;
    BoardRun m_run;
};

void printPulse(QTextStream& out, const QString& board)
{
    Scenario scenario = podsOf(4096, 0, 1000);
    scenario.plugged = kAll;
    scenario.stick.inserted = false;
    SampledRun sampled(board, scenario);
    sampled.run().await({Condition::Kind::Charging, kAll, {}, 0});
    sampled.print(out, "thirty gauges pulse",
                  [&] { sampled.run().ask(QStringLiteral("sleep 30")); });
}

void printArchiving(QTextStream& out, const QString& board)
{
    Scenario scenario = podsOf(2 << 20, 0, 0);
    scenario.stick.inserted = false;
    SampledRun sampled(board, scenario);
    sampled.run().await({Condition::Kind::Panel, {}, {}, 2});
    sampled.print(out, "thirty pods are archived", [&] {
        sampled.run().plug(kAll);
        sampled.run().await({Condition::Kind::Erased, kAll, {}, 0});
    });
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QString board = QCoreApplication::arguments().value(1);
    return figures::print([&](QTextStream& out) {
        printPulse(out, board);
        printArchiving(out, board);
    });
}
