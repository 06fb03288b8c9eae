#pragma once

#include "bench/stickplan.h"

#include <QDir>
#include <QStringList>

/// The stick of the bench: the folder behind it, and the mark in the control folder that says
/// whether it is inserted and what kind it is. Lives as long as the bench and is owned by it.
/// Throws BadInput when the stick cannot be made.
class BenchStick
{
public:
    /// folder: made, and given the plan's content. The stick is not inserted yet.
    BenchStick(const QString& folder, const QString& control_folder, const StickPlan& plan);

    /// It leaves by itself too, at its plan's byte.
    bool inserted() const;
    /// A stick that is pulled while it is mounted leaves its mount, as on the station, and every
    /// access fails from then on. The plan's byte is one of its first insertion.
    void setInserted(bool inserted);

    /// False for what is not there; links count, wherever they lead.
    bool holds(const QString& name) const;
    /// -1 for what is not there.
    qint64 bytesOf(const QString& name) const;
    /// One line a name, at most `most` lines, fit to be shown.
    QStringList listing(int most) const;
    QString path(const QString& name) const { return m_folder.filePath(name); }
    /// What its server complained of: empty when all is well with the bench itself.
    QStringList complaints() const;

private:
    QDir m_folder;
    QDir m_control;
    StickSettings m_settings;
};
