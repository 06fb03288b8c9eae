#pragma once

#include <QIODevice>

class ArchiveAddition;

/// The archive of an addition as the zip library sees it: a random-access device that gathers the
/// library's many small writes into large ones. Borrows the addition; on its thread. A failed write
/// is told at once or, for gathered bytes, by flush().
class ArchiveDevice : public QIODevice
{
public:
    explicit ArchiveDevice(ArchiveAddition& addition);

    bool isSequential() const override { return false; }
    qint64 size() const override;
    bool seek(qint64 position) override;

    bool flush();

protected:
    qint64 readData(char* data, qint64 maxBytes) override;
    qint64 writeData(const char* data, qint64 bytes) override;

private:
    ArchiveAddition& m_addition;
    QByteArray m_gathered;
    qint64 m_position = 0;
};
