// The optical module's character device "/dev/laser_dev": receive level, transmit level, I2C dump. Reached through
// open, ioctl and close; its requests are in kit_numbers.h.
#ifndef PLATFORM_LASER_DEV_H
#define PLATFORM_LASER_DEV_H

#include "platform/kit_numbers.h"

#endif
