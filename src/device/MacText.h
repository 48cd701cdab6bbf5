// MAC addresses as text.
#ifndef DEVICE_MAC_TEXT_H
#define DEVICE_MAC_TEXT_H

// Six bytes as "00:1a:2b:3c:4d:5e" into text (18 bytes). 0; a null argument prints a line and answers -1.
int macToText(const unsigned char* mac, char* text);

#endif
