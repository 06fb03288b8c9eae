#pragma once

#include "stick/sticksettings.h"
#include "system/uniquefd.h"

/// The file that stands for an inserted stick: it is there while the stick is, and one that was
/// pulled and inserted again is another file. Used on the server's one thread, owned by Medium.
class InsertionMark
{
public:
    /// Without such a file the stick counts as pulled.
    explicit InsertionMark(const QByteArray& path);

    StickSettings settings() const;
    bool pulled() const;
    void pull();

private:
    QByteArray m_path;
    UniqueFd m_file;
};
