#pragma once

#include "pod/objectstore.h"

/// Whether a reply that says this holds a byte 0xDB.
bool holdsEscape(const ObjectStore::Position& position);

/// Whether a bootloader with these object sizes says 0xDB to somebody who sends it this init packet
/// and this image (at most kFlashBytes) from the beginning: in the offset or the CRC after the init
/// packet or after an object. Pure.
bool repliesHoldEscape(const QByteArray& init_packet, const QByteArray& image,
                       const ObjectLimits& limits);
