#include "archives/reportcheck.h"

#include <algorithm>

namespace {

using Recordings = std::vector<KnownRecording>;

bool isRecording(const ArchiveEntry& entry, const Recordings& recordings)
{
    return std::any_of(recordings.begin(), recordings.end(),
                       [&entry](const KnownRecording& one) { return one.sha256 == entry.sha256; });
}

} // namespace

QStringList checkReport(const QString& path, const QMap<QString, QStringList>& expected,
                        const Recordings& recordings)
{
    QStringList problems;
    QStringList names;
    for (const ArchiveEntry& entry : readArchive(path, problems)) {
        names += entry.name;
        if (entry.sha256.isEmpty())
            problems += QStringLiteral("the report's '%1' cannot be read").arg(entry.name);
        else if (isRecording(entry, recordings))
            problems += QStringLiteral("the report's '%1' is a recording").arg(entry.name);
        const QString content = QString::fromUtf8(readEntry(path, entry.name));
        for (const QString& text : expected.value(entry.name))
            if (!content.contains(text))
                problems += QStringLiteral("the report's '%1' lacks '%2'").arg(entry.name, text);
    }
    names.sort();
    if (names != expected.keys())
        problems += QStringLiteral("the report holds %1, not %2")
                        .arg(names.join(QStringLiteral(", ")),
                             QStringList(expected.keys()).join(QStringLiteral(", ")));
    return problems;
}
