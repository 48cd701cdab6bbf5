// The interface and bridge requests of ioctl, answered from the model.
#ifndef VIRTUAL_ONU_NETWORK_IOCTL_H
#define VIRTUAL_ONU_NETWORK_IOCTL_H

namespace virtual_onu::network {

// A request that reads or changes network devices, addresses, routes or bridges (known to the model or not).
bool ownsRequest(unsigned long request);
// 0 or a negative errno value; EOPNOTSUPP for requests that the model does not know.
int interfaceIoctl(int fd, unsigned long request, void* argument);

// Interposed by name because they make their request inside the C library.
int indexOfName(const char* name);            // the index, or a negative errno value
int nameOfIndex(unsigned index, char* name);  // 0 or a negative errno value

}  // namespace virtual_onu::network

#endif
