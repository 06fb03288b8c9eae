#pragma once

#include <QByteArray>

#include <usbredirproto.h>

/// Interfaces and endpoints as the redirection protocol tells of them.
struct RedirLayout
{
    usb_redir_interface_info_header interfaces;
    usb_redir_ep_info_header endpoints;
};

/// From a configuration descriptor with all that belongs to it. Pure, reentrant.
RedirLayout redirLayout(const QByteArray& configuration);
