#pragma once

#include <QString>

/// Carries out the erase command that an operator put on the stick. No state; works on "datas" in
/// the working directory, on the controller thread, before the first archive is chosen.
class UsbCmdUtils
{
public:
    /// Deletes as many of the oldest archives as the file says, or everything when it says 0 or no
    /// number. Failures are passed over.
    void cmdEraseDatas(const QString& cmdFilePath);

    /// Removes a command file from the stick for good. To be called before anything is deleted on
    /// its behalf: a station that loses power in between must not obey a second time, and delete
    /// what nobody asked for.
    static bool consume(const QString& cmdFilePath);
};
