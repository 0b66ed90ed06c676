#pragma once

#include <string>
#include <utility>

// Values of the messages exchanged with NEs.

// A string of octets; a zero octet always stands behind the last one.
class AsnOcts {
public:
    AsnOcts() = default;
    explicit AsnOcts(std::string strData) : m_strData(std::move(strData)) {}

    const char* data() const { return m_strData.c_str(); }
    std::size_t size() const { return m_strData.size(); }
    bool empty() const { return m_strData.empty(); }

private:
    std::string m_strData;
};
