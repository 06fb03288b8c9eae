#pragma once

#include "symbols.h"

#include <QTextStream>

#include <map>
#include <utility>
#include <vector>

/// What the addresses that boardsampler.cpp has noted say about the station: which library, which
/// function, which share.
class Profile
{
public:
    /// Where the files of the board and their functions' names are to be found on this computer.
    struct Places
    {
        QStringList roots; ///< the uppermost first
        QString debug_folder;
    };

    /// maps: lines of the station's /proc/PID/maps; kernel: of /proc/kallsyms. Throws BadInput.
    Profile(Places places, const QStringList& maps, const QStringList& kernel);

    void add(const std::vector<quint32>& addresses);
    /// Shares of all instructions, by library and then by function.
    void print(QTextStream& out) const;

private:
    using Function = std::pair<QString, QString>; ///< library and name

    struct Mapping
    {
        quint32 end = 0;
        quint32 file_start = 0; ///< where the file's first byte would be
        QString path;
    };

    Function functionAt(quint32 address);
    const Symbols& symbolsOf(const QString& path);

    Places m_places;
    std::map<quint32, Mapping> m_mappings;
    Symbols m_kernel;
    std::map<QString, Symbols> m_symbols;
    std::map<Function, int> m_counts;
    int m_total = 0;
};
