#include "tests/support/xml.h"

#include <libxml/xpathInternals.h>

#include <gtest/gtest.h>

namespace tqa_test {

namespace {

const xmlChar* chars(const std::string& text) {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

}  // namespace

Xml::Xml(const std::string& text) {
    const std::unique_ptr<xmlParserCtxt, Free<xmlFreeParserCtxt>> parser(xmlNewParserCtxt());
    document_.reset(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()),
                                      nullptr, nullptr,
                                      XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
    wellFormed_ = document_ && parser->wellFormed != 0 && parser->nsWellFormed != 0;
    context_.reset(xmlXPathNewContext(document_.get()));
    declare("soap11", "http://schemas.xmlsoap.org/soap/envelope/");
    declare("soap12", "http://www.w3.org/2003/05/soap-envelope");
}

void Xml::declare(const std::string& prefix, const std::string& uri) {
    xmlXPathRegisterNs(context_.get(), chars(prefix), chars(uri));
}

std::string Xml::value(const std::string& expression) const {
    const std::unique_ptr<xmlXPathObject, Free<xmlXPathFreeObject>> result(
        xmlXPathEvalExpression(chars(expression), context_.get()));
    EXPECT_TRUE(result) << expression;
    if (!result) return "";
    xmlChar* const text = xmlXPathCastToString(result.get());
    std::string value(reinterpret_cast<const char*>(text));
    xmlFree(text);
    return value;
}

}  // namespace tqa_test
