// What libvirtual_onu.so exports beside the functions of the device kit.
#ifndef VIRTUAL_ONU_EXPORT_H
#define VIRTUAL_ONU_EXPORT_H

#if defined(__GNUC__)
#define VIRTUAL_ONU_API __attribute__((visibility("default")))
#else
#define VIRTUAL_ONU_API
#endif

#endif
