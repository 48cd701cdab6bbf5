// Frames of each service in scenarios/omci/ that must pass or must not.
#ifndef TESTS_OMCI_SERVICES_FRAME_FILE_H
#define TESTS_OMCI_SERVICES_FRAME_FILE_H

#include <string>

// Sends the frames of scenarios/omci/<name>.frames.json through the device as it is. The text says what was not as
// expected, "" when everything was.
std::string wrongFrames(const std::string& name);

#endif
