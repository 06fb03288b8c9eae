#include "app/programagain.h"

#include "common/badinput.h"
#include "common/companions.h"

#include <QFile>

#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kOwnMounts = "CORVANE_SIM_OWN_MOUNTS";

[[noreturn]] void become(const QStringList& command)
{
    std::vector<QByteArray> words;
    for (const QString& word : command)
        words.push_back(word.toLocal8Bit());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (QByteArray& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    ::execvp(pointers.front(), pointers.data());
    throw BadInput(QStringLiteral("cannot start %1").arg(command.front()));
}

QStringList itself(const QStringList& arguments)
{
    return QStringList{QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))} + arguments.mid(1);
}

} // namespace

void programagain::onOwnDisplay(const QStringList& arguments)
{
    become(QStringList{companions::path("window/serve")} + itself(arguments) +
           QStringList{QStringLiteral("--display"), QStringLiteral("window")});
}

void programagain::withOwnMounts(const QStringList& arguments)
{
    qputenv(kOwnMounts, "1");
    become(QStringList{QStringLiteral("unshare"), QStringLiteral("--map-root-user"),
                       QStringLiteral("--mount")} +
           itself(arguments));
}

bool programagain::hasOwnMounts()
{
    return qEnvironmentVariableIsSet(kOwnMounts);
}
