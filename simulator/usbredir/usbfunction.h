#pragma once

#include "bus/usbdescription.h"
#include "pod/podmodel.h"

#include <QByteArray>

#include <functional>
#include <memory>
#include <optional>

/// One device that a redirected port can hold. A value; used on the port's thread.
struct UsbFunction
{
    UsbDescription description;
    /// Its answers on endpoint 0: the data of a read, nothing for an accepted write, no value for a
    /// stall. `setup` is the setup packet's 8 bytes, `data` what a write brings.
    std::function<std::optional<QByteArray>(const QByteArray& setup, const QByteArray& data)>
        control;
    std::shared_ptr<PodModel> pod; ///< has its bulk data; none: there is no bulk endpoint
};
