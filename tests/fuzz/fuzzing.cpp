#include "fuzz/fuzzing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

namespace fuzzing {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QByteArray bytesOf(const uint8_t* data, size_t size_bytes)
{
    return {reinterpret_cast<const char*>(data), int(size_bytes)};
}

} // namespace fuzzing

/// Millions of refusals are of no interest, and what a target writes goes with its process.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    static const QTemporaryDir folder;
    fuzzing::require(folder.isValid() && QDir::setCurrent(folder.path()));
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}
