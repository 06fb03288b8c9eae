#pragma once

#include "scenario/stickplan.h"

#include <QDir>
#include <QHash>
#include <QStringList>

#include <optional>

/// The stick of the bench: a folder with what is on it, and its way into the station. There may be
/// several in a run, one after the other. Lives as long as the bench and is owned by the site.
/// Throws BadInput when a stick cannot be made.
class BenchStick
{
public:
    static constexpr qint64 kNotThere = -1;

    /// folder: made, and given the plan's content. The stick is not inserted yet.
    BenchStick(const QString& folder, const StickPlan& plan);
    Q_DISABLE_COPY_MOVE(BenchStick)
    virtual ~BenchStick() = default;

    /// A stick whose plan has a byte at which it is pulled leaves by itself.
    virtual bool inserted() const = 0;
    /// A stick that is pulled while it is mounted leaves its mount, as on the station, and every
    /// access fails from then on. The plan's byte counts in its first insertion alone.
    virtual void setInserted(bool inserted) = 0;
    /// Another stick from now on; the one before must be out, and stays as it is in a folder of its
    /// own. Throws BadInput where there can be only one.
    virtual void replace(const StickPlan& plan);
    /// What is wrong with the stick and no station's doing; empty when all is well with the bench.
    virtual QStringList complaints() const { return {}; }

    /// False for what is not there, or not known to be; links count, wherever they lead.
    bool holds(const QString& name) const { return bytesOf(name) >= 0; }
    /// False while that is not known.
    bool lacks(const QString& name) const { return bytesOf(name) == kNotThere; }
    /// kNotThere, or std::nullopt while nobody can tell.
    virtual std::optional<qint64> bytesOf(const QString& name) const;
    /// The file is still what the plan had put there. Only files of given text are known.
    bool keeps(const QString& name) const;
    /// Names of what was put on one of the sticks and is not as it was, but for what is the
    /// station's to take or to replace.
    QStringList disturbed() const;
    /// One line a name, at most `most` lines, fit to be shown.
    QStringList listing(int most) const;
    QString path(const QString& name) const { return m_folder.filePath(name); }
    /// Of every stick of this run, the present one's last.
    QStringList folders() const { return m_former_folders + QStringList(m_folder.path()); }

protected:
    const QDir& folder() const { return m_folder; }
    /// Puts what is in the folder aside and makes it the one of another stick.
    void beginAnother(const StickPlan& plan);

private:
    void fill(const StickPlan& plan);

    QDir m_folder;
    QStringList m_former_folders;
    QHash<QString, QByteArray> m_given; ///< text of the plan's files, by name
    QHash<QString, QHash<QString, QByteArray>> m_given_before; ///< of former sticks, by folder
};
