// SOAP requests and the reply to one of them.
#pragma once

#include "bench/script.h"

#include <string>
#include <vector>

namespace bench {

inline constexpr int kSoapVersions[] = {1, 2};  // SOAP 1.1 and SOAP 1.2

std::string soapVersionName(int version);       // "soap11", "soap12"
const std::string& soapSmall(int version);      // a request of 1.2 KB
const std::string& soapLarge(int version);      // a request of 1 MB
const std::string& soapFourLarge(int version);  // and one of 4 MB
const Workload& soapReply();                    // the reply to the small request, 1.2 KB

// What the small request and its reply say, for peers that know them as structs.
struct SoapVe {
    int veid;
    std::string hostname;
    int state;
    long long diskspace;
};

struct SoapContent {
    std::string id, origin, session, director, options;
    int priority, index;
    std::vector<int> veids;
    std::vector<SoapVe> ves;
};

const SoapContent& soapContent();

}  // namespace bench
