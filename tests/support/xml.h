// An independent reader (libxml2) that judges the XML the gateway writes.
//
//     tqa_test::Xml xml(text);
//     ASSERT_TRUE(xml.wellFormed());
//     xml.value("string(/soap11:Envelope/soap11:Body/*/veid)");
#pragma once

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <memory>
#include <string>

namespace tqa_test {

class Xml {
  public:
    explicit Xml(const std::string& text);

    // Well-formed, namespaces included.
    bool wellFormed() const { return wellFormed_; }

    // The value of an XPath expression as text. Known prefixes: soap11 and soap12, the envelope
    // namespaces; and any that was declared.
    std::string value(const std::string& expression) const;
    void declare(const std::string& prefix, const std::string& uri);

  private:
    template <auto free>
    struct Free {
        template <class T>
        void operator()(T* object) const {
            free(object);
        }
    };

    bool wellFormed_ = false;
    std::unique_ptr<xmlDoc, Free<xmlFreeDoc>> document_;
    std::unique_ptr<xmlXPathContext, Free<xmlXPathFreeContext>> context_;
};

}  // namespace tqa_test
