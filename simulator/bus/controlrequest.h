#pragma once

#include "bus/usbdescription.h"
#include "pod/podmodel.h"

#include <QByteArray>

#include <optional>

/// Answers one request on endpoint 0 from what the device says about itself: the data of a read,
/// nothing for an accepted write, no value for a request that the device stalls. `setup` has the 8
/// bytes of the setup packet, little-endian.
std::optional<QByteArray> answerControlRequest(const UsbDescription& description,
                                               const QByteArray& setup);

/// Tells the pod how the host sets its serial line; other requests leave it as it is.
void noteSerialLine(PodModel& pod, const QByteArray& setup, const QByteArray& data);
