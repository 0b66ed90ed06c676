// A module that refuses to start.

#include "zemb/module.h"

namespace {

class Lamp final : public ModuleObject {
public:
    Lamp() { ModuleMgr::Instance()->RegisterModule(this); }
    std::string GetModuleName() override { return "lamp"; }
    int GetModuleNumber() override { return 9; }
    int Start() override { return 7; }
    int Stop() override { return 0; }
    ModuleInterface* QueryInterface(const std::string&, int) override { return nullptr; }
    int ListInterfaces(std::list<ModuleInterface*>&) override { return 0; }
    void ReleaseInterfaces() override {}
    int Reserved() override { return 0; }
};

Lamp g_lamp;

}  // namespace
