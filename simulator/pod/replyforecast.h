#pragma once

#include <QByteArray>

/// Whether a bootloader with the usual object sizes says 0xDB in a reply to somebody who sends it
/// this init packet and this image (at most kFlashBytes) from the beginning: in the offset or the
/// CRC after the init packet or after an object. Pure.
bool repliesHoldEscape(const QByteArray& init_packet, const QByteArray& image);
