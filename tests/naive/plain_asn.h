#pragma once

#include "zemb/asn.h"

#include <string>
#include <utility>

namespace naive {

// A value whose text is what a test wants it to be, but for the label in front.
class PlainAsn : public AsnType {
public:
    explicit PlainAsn(std::string strText) : AsnType("Plain"), m_strText(std::move(strText)) {}
    void AppendText(std::string& strOut, std::size_t /*nDepth*/) const override {
        strOut += m_strText;
    }

private:
    std::string m_strText;
};

}  // namespace naive
