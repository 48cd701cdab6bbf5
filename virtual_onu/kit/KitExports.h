// Included before every source of the virtual ONU: the functions of the device kit are what this library exports, so
// their declarations get default visibility although everything else is hidden.
#ifndef VIRTUAL_ONU_KIT_EXPORTS_H
#define VIRTUAL_ONU_KIT_EXPORTS_H

#pragma GCC visibility push(default)
#include "platform/cms.h"
#include "platform/devctl.h"
#include "platform/gponctl.h"
#include "platform/logger.h"
#include "platform/tmctl.h"
#include "platform/vlanctl.h"
#pragma GCC visibility pop

#endif
