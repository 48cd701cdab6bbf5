// Tables and rules as bytes of the state file.
#ifndef BRCM_BCM968580_DATA_G988_STORED_H
#define BRCM_BCM968580_DATA_G988_STORED_H

#include "BRCM/BCM968580/DATA/g988/Difference.h"
#include "BRCM/BCM968580/DATA/g988/Services.h"
#include "BRCM/BCM968580/DATA/g988/Tables.h"
#include "state/Bytes.h"

namespace g988 {

void store(const UniPort& port, state::ByteWriter& bytes);
void store(const PonSide& side, state::ByteWriter& bytes);
void store(const InstalledRule& installed, state::ByteWriter& bytes);  // without its id

// Bytes that are none of the kind leave the reader not ok(), or something behind it.
UniPort readUniPort(state::ByteReader& bytes);
PonSide readPonSide(state::ByteReader& bytes);
InstalledRule readInstalledRule(state::ByteReader& bytes);

}  // namespace g988

#endif
