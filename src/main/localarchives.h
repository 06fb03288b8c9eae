#pragma once

#include "archive/additionresult.h"
#include "archive/owedarchives.h"
#include "utils/filesaver.h"

#include <QString>
#include <QStringList>

#include <functional>

/// The station's archives in "datas": the current one, to which recordings are added, the earlier
/// ones, and which of them are owed to a stick. Made by the controller's task loop, on its thread;
/// failures are told by the results, and logged where nobody else can say why.
class LocalArchives
{
public:
    /// `write_infos` makes "tmp/infos.log" anew, which every archive begins with. `max_archives`:
    /// of more than these, the oldest that are not owed go.
    LocalArchives(std::function<void()> write_infos, int max_archives);

    /// Stays with the archive at hand when a new one cannot be made.
    bool beginNext();
    /// False until an archive could be made.
    bool hasCurrent() const { return !m_current_zip_path.isEmpty(); }
    QString currentPath() const { return m_current_zip_path; }

    /// Adds a recording that has this CRC-32: to the current archive or, where that one is full, no
    /// archive any more, or on a block that keeps nothing, to a new one. It is owed before it is
    /// added.
    AdditionResult add(const QString& file_path, quint32 crc32);

    bool owesCurrent() const;
    /// Names, oldest first.
    QStringList owedEarlier() const;
    bool owesAny() const { return owesCurrent() || !owedEarlier().isEmpty(); }
    /// A stick holds all of it.
    void setDelivered(const QString& name) { m_owed.remove({name}); }
    OwedArchives& owed() { return m_owed; }
    /// After an operator had archives erased.
    void forgetErased();

    static QString pathOf(const QString& name);

private:
    AdditionResult addToCurrent(const QString& file_path, quint32 crc32);
    QString currentName() const;
    bool isThere(const QString& name) const;

    std::function<void()> m_write_infos;
    OwedArchives m_owed;
    FileSaver m_saver;
    QString m_current_zip_path;
};
