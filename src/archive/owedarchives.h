#pragma once

#include <QString>
#include <QStringList>

/// The names of the archives that hold a recording which no stick has yet, kept in a file beside
/// "datas" so that neither a restart nor the limit on archives forgets one. A station of before
/// that file owes nothing; one whose file is damaged owes everything that is there.
///
/// File: the CRC-32 of all that follows in eight hexadecimal digits, then each name on a line.
/// Owned by the station's archives, on the controller's thread.
class OwedArchives
{
public:
    /// Reads the file.
    OwedArchives();

    bool contains(const QString& name) const { return m_names.contains(name); }
    /// Oldest first.
    const QStringList& names() const { return m_names; }

    /// True when the storage holds it; else it is as if it had not been called.
    bool add(const QString& name);
    /// Where the storage takes no change, a full one say, they are owed again after a restart: a
    /// stick is then given one twice.
    void remove(const QStringList& names);
    /// Forgets all others: they are nowhere any more.
    void keepOnly(const QStringList& names);

private:
    QStringList m_names;
};
