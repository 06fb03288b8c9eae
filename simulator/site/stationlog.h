#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// The lines that the station wrote, kept for the questions that scenarios ask. Pure, reentrant.
class StationLog
{
public:
    /// Takes output in pieces of any size; the lines that it completed.
    QStringList append(const QByteArray& output);

    /// The station is started, again or for the first time.
    void beginRun() { m_run_begins = m_lines.size(); }
    /// Whether text occurs in a line of the present run.
    bool runHolds(const QString& text) const;
    /// Lines in which text occurs, over all runs of the station.
    int count(const QString& text) const;
    QStringList lastLines(int count) const { return m_lines.mid(qMax(0, m_lines.size() - count)); }
    /// Warnings and worse, and the sanitizers' reports, that hold none of the expected texts.
    QStringList unexpected(const QStringList& expected_texts) const;

private:
    QByteArray m_begun_line;
    QStringList m_lines;
    int m_run_begins = 0;
};
