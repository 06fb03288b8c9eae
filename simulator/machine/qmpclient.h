#pragma once

#include "machine/machineline.h"

#include <QJsonObject>

/// The machine's monitor, which takes commands of QEMU's QMP. Owned by the machine. A command that
/// the machine refuses is told by refused() and otherwise without effect.
class QmpClient : public MachineLine
{
    Q_OBJECT

public:
    using Done = std::function<void()>;

    using MachineLine::MachineLine;

    /// `done` is called on success alone.
    void execute(const QString& name, const QJsonObject& arguments = {}, Done done = {});

signals:
    void refused(const QString& command, const QString& reason);
    void happened(const QString& event, const QJsonObject& data);

protected:
    void hear(const QByteArray& line) override;
};
