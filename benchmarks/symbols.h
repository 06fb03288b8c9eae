#pragma once

#include <QString>
#include <QStringList>

#include <map>

/// The functions of one program, library or kernel, by their addresses.
class Symbols
{
public:
    /// Of an ELF file below one of the folders: those of its separate debug file, where
    /// debug_folder has one, or else the exported ones. Throws BadInput.
    static Symbols ofFile(const QString& path, const QString& debug_folder);
    /// Of lines of /proc/kallsyms.
    static Symbols ofKernel(const QStringList& lines);

    /// Empty: no function is known there.
    QString functionAt(quint32 address) const;

private:
    struct Function
    {
        quint32 size;
        QString name;
    };

    std::map<quint32, Function> m_functions;
};
