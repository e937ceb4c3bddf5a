#include "tqamsg/util/ip_text.h"

#include <arpa/inet.h>

int strToIp(const std::string& text, unsigned int* ip) {
    in_addr address = {};
    *ip = 0;
    if (inet_aton(text.c_str(), &address) == 0) return -1;
    *ip = ntohl(address.s_addr);
    return 0;
}

unsigned int strToIp(const std::string& text) {
    unsigned int ip = 0;
    strToIp(text, &ip);
    return ip;
}

std::string ipToStr(const unsigned int& ip) {
    const in_addr address = {htonl(ip)};
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
}
