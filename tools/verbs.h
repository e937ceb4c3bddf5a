// The rows of the verbs. Each stands in the file of its verb, above what the verb does.
#pragma once

#include "tools/verb.h"

namespace tool {

Verb showVerb();
Verb convertVerb();
Verb getVerb();
Verb setVerb();
Verb addVerb();
Verb delVerb();
Verb validateVerb();
Verb diffVerb();
Verb headerVerb();
Verb replyVerb();
Verb authVerb();
Verb wordsVerb();
Verb soapRequestVerb();
Verb soapResponseVerb();
Verb sendVerb();
Verb tapVerb();
Verb genVerb();
Verb logVerb();
Verb generateVerb();

}  // namespace tool
