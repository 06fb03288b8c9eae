#include "fuzz/fuzzing.h"

#include <QDir>
#include <QTemporaryDir>

#include <cstdlib>

namespace fuzzing {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void silence()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

void enterNewFolder()
{
    static const QTemporaryDir folder;
    require(folder.isValid() && QDir::setCurrent(folder.path()));
}

QByteArray bytesOf(const uint8_t* data, size_t size_bytes)
{
    return {reinterpret_cast<const char*>(data), int(size_bytes)};
}

} // namespace fuzzing
