// Runs the storage operations named on its command line, for a test that preloads a faulty storage:
// each argument is one step, its parts divided by colons. Tells each answer on standard output,
// then creates a file, so that the plan can also strike right after an answer was given.
#include "archive/archiveaddition.h"
#include "archive/owedarchives.h"
#include "main/progress.h"
#include "main/stickcommands.h"
#include "system/storagefile.h"
#include "utils/filesaver.h"
#include "utils/usbkeyutils.h"
#include "utils/ziputils.h"

#include <QStringList>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// True when the panel says at the end that everything is on the stick, or never said anything.
bool obeyStick()
{
    UsbKeyUtils usbkey;
    StickCommands commands(usbkey);
    int shown = Copied;
    QObject::connect(&commands, &StickCommands::syncDone, [&shown](int code) { shown = code; });
    OwedArchives owed;
    commands.obey(owed);
    return shown == Copied;
}

/// As the station begins an archive.
bool beginArchive()
{
    FileSaver saver(QStringLiteral("datas"), QStringLiteral(".cvx"), 25);
    saver.createNewFile();
    return ZipUtils::createZip(saver.getCurrentFilePath(), QStringLiteral("tmp/infos.log"));
}

bool run(const QStringList& step)
{
    const QString& verb = step.at(0);
    if (verb == QLatin1String("add"))
        return ZipUtils::addFile(step.at(1), step.at(2));
    // As a recording, of which the checksum is known.
    if (verb == QLatin1String("record"))
        return ZipUtils::addRecording(step.at(1), step.at(2), step.at(3).toUInt()).added();
    if (verb == QLatin1String("create"))
        return ZipUtils::createZip(step.at(1));
    if (verb == QLatin1String("begin"))
        return beginArchive();
    if (verb == QLatin1String("copy"))
        return storage::copyFile(step.at(1), step.at(2)) == storage::CopyEnd::Done;
    if (verb == QLatin1String("commands"))
        return obeyStick();
    return ArchiveAddition::recover();
}

bool tell(bool answer)
{
    return ::write(STDOUT_FILENO, answer ? "y" : "n", 1) == 1;
}

} // namespace

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const bool answer = run(QString::fromLocal8Bit(argv[i]).split(QLatin1Char(':')));
        if (!tell(answer))
            return 1;
        storage::createNew(QStringLiteral("answer-%1").arg(i));
    }
    return 0;
}
