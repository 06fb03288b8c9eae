#pragma once

#include <QtGlobal>

/// How a file is deflated: with the least work that makes it no larger than the usual level does.
/// Of noise a search for matches gains nothing, of a sensor's values a short one gains all; text
/// needs a long one. A value, reentrant.
struct DeflatePlan
{
    /// Of smaller files the usual level: a trial would cost as much as it saves.
    static constexpr qint64 kLeastBytes = qint64(2) * 1024 * 1024;

    int level = 6;
    int strategy = 0; ///< zlib's

    /// By trial of two pieces. Leaves the file at its beginning; one that cannot be read gets the
    /// usual level.
    static DeflatePlan forFile(int fd);
};
