#pragma once

#include <QString>

/// Carries out the erase command that an operator put on the stick. No state; works on "datas" in
/// the working directory, on the controller thread, before the first archive is chosen.
class UsbCmdUtils
{
public:
    /// Deletes as many of the oldest archives as the file says, or everything when it says 0 or no
    /// number. The file goes first: a station that loses power in between must not obey a second
    /// time, and erase what nobody asked for. Nothing is erased while it cannot be removed.
    void cmdEraseDatas(const QString& cmdFilePath);
};
