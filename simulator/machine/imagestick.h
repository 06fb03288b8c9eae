#pragma once

#include "site/benchstick.h"

#include <QDateTime>

class MachineReport;
class VirtualMachine;

/// A stick that is a mass-storage device of the machine. Its image is made from its folder's
/// content when the stick is first put in or left out. The folder is brought up to date from the
/// image whenever somebody looks at it and no station has the stick mounted.
class ImageStick : public BenchStick
{
public:
    /// Machine and report must outlive it.
    ImageStick(const QString& folder, const StickPlan& plan, VirtualMachine& machine,
               const MachineReport& report);

    bool inserted() const override;
    void setInserted(bool inserted) override;
    std::optional<qint64> bytesOf(const QString& name) const override;
    QStringList complaints() const override { return m_complaints; }
    /// Brings the folder up to date; nobody may have the stick mounted.
    void unpack() const;

private:
    VirtualMachine& m_machine;
    const MachineReport& m_report;
    quint64 m_size_bytes;
    bool m_made = false;
    mutable QDateTime m_unpacked; ///< the image's last change by then
    mutable QStringList m_complaints;
};
