#pragma once

#include "usbfs/nodeclient.h"

#include <chrono>
#include <optional>

/// What stands behind a device node. Called on the server's thread with its mutex held.
class NodeHandler
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    NodeHandler() = default;
    Q_DISABLE_COPY_MOVE(NodeHandler)
    virtual ~NodeHandler() = default;

    /// Completes the call before it returns.
    virtual void handle(NodeClient& client, const NodeCall& call) = 0;
    virtual void clientGone(const NodeClient& /*client*/) {}
    /// Does what is due by now.
    virtual void advance(TimePoint /*now*/) {}
    /// When something will be due; none while nothing is under way.
    virtual std::optional<TimePoint> nextDue() const { return std::nullopt; }
};
