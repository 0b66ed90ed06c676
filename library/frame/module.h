#pragma once

#include "tovelkarin/utilif.h"

#include "zemb/module.h"

#include <array>
#include <cstdint>

class UtilIFImpl final : public UtilIF {
public:
    std::string GetInterfaceName() override;
    int GetInterfaceVersion() override;
    bool IsMatch(const std::string& strName, const int& nVersion) override;
    bool IsInt3Enabled() override;
    unsigned long Reserved6(unsigned long nFirst, unsigned long nSecond) override;
    unsigned long Reserved7(unsigned long nFirst, unsigned long nSecond) override;
};

// The library as a module. Building one registers it, so there is one static object of it.
class tovelkarin final : public ModuleObject {
public:
    tovelkarin();

    std::string GetModuleName() override;
    int GetModuleNumber() override;
    int Start() override;
    int Stop() override;
    ModuleInterface* QueryInterface(const std::string& strName, int nVersion) override;
    int ListInterfaces(std::list<ModuleInterface*>& listInterface) override;
    void ReleaseInterfaces() override;
    int Reserved() override;

    std::int32_t started;  // 0 after load, 1 after start, 0 after stop

private:
    // What the module offers, ended by null; owned here, freed only by ReleaseInterfaces.
    std::array<ModuleInterface*, 2> m_arrInterface;
};
