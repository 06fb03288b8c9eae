#pragma once

#include "site/benchstick.h"

/// A stick that a server shows in the station's private root. The mark in the control folder says
/// whether it is inserted and what kind it is.
class ServedStick : public BenchStick
{
public:
    ServedStick(const QString& folder, const QString& control_folder, const StickPlan& plan);

    bool inserted() const override;
    void setInserted(bool inserted) override;
    void replace(const StickPlan& plan) override;
    QStringList complaints() const override;

private:
    QDir m_control;
    StickSettings m_settings;
    bool m_may_stay;
    bool m_leaves_by_itself = false; ///< the one that was inserted last
    bool m_pulled_before_its_byte = false;
};
