#pragma once

#include <QDir>
#include <QObject>
#include <QString>
#include <QStringList>

/// Names the data files of one folder: ten digits and an extension, in rising order, the oldest
/// removed past a limit. Only decides names; the archives are made by whoever asked. Lives on the
/// controller's thread, owned by its task loop; reports no failure, the names then follow from what
/// is in the folder.
class FileSaver : public QObject
{
    Q_OBJECT

public:
    FileSaver(const QString& dir, QString extension, int maxFiles);

    QStringList listFiles() const;
    QString getLastFileName() const;
    QString getLastFilePath() const;
    QString getCurrentFilePath() const { return m_current_file_path; }

public slots:
    /// A last archive with a single entry holds no recording yet and stays the current one.
    void createNewFile();
    void cleanLocalBackups();

private:
    QString pathOf(const QString& name) const;
    QString nameAfter(const QString& last);
    void wipe();

    QDir m_dir;
    QString m_current_file_path;
    QString m_file_extension;
    QString m_dir_path;
    qint32 m_max_files;
};
