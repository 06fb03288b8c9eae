// The erase command of an operator's stick: it goes, and so many archives with it as it says.
#include "fuzz/fuzzing.h"
#include "system/stationpaths.h"
#include "utils/usbcmdutils.h"

#include <QDir>

#include <algorithm>

using fuzzing::require;

namespace {

const QString kCommand = QStringLiteral("cmd_erase_datas.txt");
constexpr int kArchives = 3;
constexpr int kMostDigits = 32;

QStringList archives()
{
    return QDir(stationpaths::kArchives).entryList(QDir::Files, QDir::Name);
}

void makeStation()
{
    require(QDir().mkpath(stationpaths::kArchives));
    for (int i = 0; i < kArchives; ++i)
        fuzzing::write(QStringLiteral("%1/%2.cvx").arg(stationpaths::kArchives).arg(i), {});
}

/// All of them, unless the text is a number above 0.
int toErase(const QByteArray& text)
{
    const QString trimmed = QString::fromLatin1(text).trimmed();
    const int number = trimmed.size() <= kMostDigits ? trimmed.toInt() : 0;
    return number > 0 ? std::min(number, kArchives) : kArchives;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    const QByteArray text = fuzzing::bytesOf(data, size_bytes);
    makeStation();
    const QStringList before = archives();
    fuzzing::write(kCommand, text);
    UsbCmdUtils().cmdEraseDatas(kCommand);
    require(!QFile::exists(kCommand));
    // The number of a text with a zero byte in it ends there, or not, as its length has it.
    if (!text.contains('\0'))
        require(archives() == before.mid(toErase(text)));
    return 0;
}
