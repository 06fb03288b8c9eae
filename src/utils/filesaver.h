#pragma once

#include <QDir>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

/// Names the data files of one folder: ten digits and an extension, in rising order, the oldest
/// removed past a limit. Only decides names; the archives are made by whoever asked. Lives on the
/// controller's thread, owned by the station's archives.
class FileSaver : public QObject
{
    Q_OBJECT

public:
    using Predicate = std::function<bool(const QString& name)>;

    /// What `mustStay` names is never removed, however many there are.
    FileSaver(const QString& dir, QString extension, int maxFiles, Predicate mustStay = {});

    QStringList listFiles() const;
    QString getLastFileName() const;
    QString getCurrentFilePath() const { return m_current_file_path; }

public slots:
    /// A last archive with a single entry holds no recording yet and stays the current one.
    /// False when the folder cannot be listed: a name that is taken must never be given again.
    bool createNewFile();
    void cleanLocalBackups();

private:
    QString pathOf(const QString& name) const;
    QString nameAfter(const QString& last);
    void wipe();
    void removeOldest(const QStringList& names);

    QDir m_dir;
    QString m_current_file_path;
    QString m_file_extension;
    QString m_dir_path;
    qint32 m_max_files;
    Predicate m_must_stay;
};
