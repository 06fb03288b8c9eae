#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>

/// Runs one program found on PATH and waits for its end, on the calling thread. Its input and error
/// output are empty; its output is read all along, so it never blocks on a full pipe.
class ChildProcess
{
public:
    enum class End {
        Exited,      ///< by itself, whatever its exit code
        Crashed,     ///< by a signal that we did not send
        NotFinished, ///< could not be started, or was killed when its time was up
    };

    struct Result
    {
        End end = End::NotFinished;
        QByteArray output; ///< at most its first kMaxOutputBytes
    };

    static constexpr std::chrono::milliseconds kUsualLimit = std::chrono::seconds(30);

    static Result run(const QString& program, const QStringList& arguments = {},
                      std::chrono::milliseconds limit = kUsualLimit);

    static constexpr int kMaxOutputBytes = 1024 * 1024;
};
