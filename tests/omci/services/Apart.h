// Work in a process of its own: the library's maps live as long as the process.
#ifndef TESTS_OMCI_SERVICES_APART_H
#define TESTS_OMCI_SERVICES_APART_H

#include <functional>
#include <string>

// The text that work gives in a child process, whose standard output goes nowhere; "" with a failed child.
std::string apart(const std::function<std::string()>& work);

#endif
