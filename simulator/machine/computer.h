#pragma once

#include <QString>
#include <QStringList>

/// A kind of computer that a station can run on, as the emulator makes it; another kind is another
/// value. Both root folders are this machine's own files, read-only to the computer.
struct Computer
{
    QString emulator; ///< program of QEMU
    QString emulator_package;
    QString machine;
    QString processor;
    int processors = 1;
    int memory_mebibytes = 0;
    QString accelerator;
    QString instruction_clock; ///< ties its time to instructions; empty: it has this machine's time
    QString plugin;            ///< that the emulator loads, with its arguments; empty: none
    QString console;           ///< as its kernel calls the first serial port
    QString kernel_options;    ///< besides those of every computer
    QString root;              ///< with kernel, drivers and all else that is installed
    QString kernel_package;
    QString program_folder; ///< what lies over the root, with the station; empty: it is there

    /// A desk's computer with the root of this machine.
    static Computer desk();
    /// A station's board, in a folder that scripts/board has made ready. Throws BadInput when it is
    /// none.
    static Computer board(const QString& folder);
    /// The same with one processor, so slow and exact that a second of it is 500 million
    /// instructions whatever this machine does beside it.
    Computer measured() const;

    /// Where the computer finds a file of this machine. Throws BadInput when it does not.
    QString pathOf(const QString& file) const;
};
