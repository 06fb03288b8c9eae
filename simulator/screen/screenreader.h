#pragma once

#include "common/slotset.h"

#include <QImage>

#include <map>
#include <optional>

/// Reads the station's screen as its user does: which picture the panel shows, which gauges are
/// full. Immutable after construction, reentrant; a picture it does not know reads as nothing.
class ScreenReader
{
public:
    ScreenReader();

    /// One of kPanelCodes; none while the start-up screen covers the panel.
    std::optional<int> panelCode(const QImage& screen) const;
    /// Places whose gauge is green from bottom to top, without the charging mark.
    static SlotSet fullGauges(const QImage& screen);
    static SlotSet emptyGauges(const QImage& screen);

private:
    std::map<int, QImage> m_panel_pictures;
};
