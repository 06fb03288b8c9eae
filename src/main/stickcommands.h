#pragma once

#include <QObject>
#include <QString>

class OwedArchives;
class UsbKeyUtils;

/// What an operator put on the stick for the station's start: new firmware for the pods, the mark
/// of an update of the station, and the command files. Each call mounts the stick.
///
/// Made on the controller's stack and thread for its start. No stick is no failure; others are
/// logged, and told as the results below or by the panel's code.
class StickCommands : public QObject
{
    Q_OBJECT

public:
    explicit StickCommands(UsbKeyUtils& usbkey);

    /// Unpacks an update package. True when pods are to be updated with it.
    bool takeFirmware();

    /// True when the launcher has just installed what the marker stands for. Without a marker the
    /// stick stays mounted, for the command files.
    bool takeUpdateMarker();

    struct Obeyed
    {
        bool backup_saved = false;
        bool erased = false; ///< an erase command was found
    };
    /// What a backup brought to the stick is owed no more.
    Obeyed obey(OwedArchives& owed);

signals:
    void syncDone(int code); ///< a SyncCode

private:
    bool backUp(OwedArchives& owed);
    void report(const OwedArchives& owed);
    /// Logs what stands on the stick under that name and is no file.
    bool holds(const QString& name) const;
    void unmount();

    UsbKeyUtils& m_usbkey;
};
