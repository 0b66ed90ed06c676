#include "commands/trail_holder.h"
#include "sub_commands.h"
#include "view/rows.h"

// Marks trails as busy through the library's guards, one for each holder that the user names.
namespace host {

namespace {

std::string NumbersText(const std::list<int>& listNumber) {
    std::string strText;
    for (const int nNumber : listNumber)
        AppendItem(strText, std::to_string(nNumber));
    return strText.empty() ? "none" : strText;
}

Json::Value ToJson(const std::list<int>& listNumber) {
    Json::Value array(Json::arrayValue);
    for (const int nNumber : listNumber)
        array.append(nNumber);
    return array;
}

struct TrailArguments {
    std::string strHolder;
    std::vector<int> vecTrail;
};

int Take(Session& session, const TrailArguments& args) {
    if (session.mapTrail.count(args.strHolder) != 0)
        throw CommandError(WRONG_USAGE, args.strHolder + " holds trails already");
    auto pHolder = std::make_unique<TrailHolder>(args.vecTrail);
    const unsigned long nCode = pHolder->GetResult();
    Json::Value record;
    record["holder"] = args.strHolder;
    record["granted"] = nCode == 0;
    if (nCode != 0) {
        record["code"] = static_cast<Json::UInt64>(nCode);
        record["busy"] = ToJson(pHolder->Registered());
        session.out.Put(
            "refused " + Hex(nCode) + ": busy are " + NumbersText(pHolder->Registered()), record);
        return ANSWER_NO;
    }
    record["trails"] = ToJson(pHolder->Registered());
    session.out.Put("granted: " + args.strHolder + " has " + NumbersText(pHolder->Registered()),
                    record);
    session.mapTrail.emplace(args.strHolder, std::move(pHolder));
    return DONE;
}

int Give(Session& session, const TrailArguments& args) {
    const auto it = session.mapTrail.find(args.strHolder);
    if (it == session.mapTrail.end())
        throw CommandError(ANSWER_NO, args.strHolder + " holds no trails; see 'trail list'");
    Json::Value record;
    record["holder"] = args.strHolder;
    record["trails"] = ToJson(it->second->Registered());
    const std::string strText =
        args.strHolder + " gave back " + NumbersText(it->second->Registered());
    session.mapTrail.erase(it);
    session.out.Put(strText, record);
    return DONE;
}

int ListTrails(const Session& session, const TrailArguments& /*args*/) {
    Rows rows(session.out, {{"holder", "HOLDER"}, {"trails", "TRAILS"}});
    for (const auto& [strHolder, pHolder] : session.mapTrail)
        rows.Add(
            {AsIs(strHolder), {ToJson(pHolder->Registered()), NumbersText(pHolder->Registered())}});
    rows.AddText({"busy", NumbersText(TrailHolder::Busy())});
    rows.Put();
    return DONE;
}

}  // namespace

Runner DefineTrail(CLI::App& app) {
    SubCommands<TrailArguments> commands(app);
    TrailArguments& args = commands.Args();
    CLI::App* const pTake = commands.Add("take", "mark trails as busy, all or none", Take);
    pTake->add_option("HOLDER", args.strHolder, "a name of your choice")->required();
    pTake->add_option("TRAIL", args.vecTrail, "trail numbers")->required();
    CLI::App* const pGive = commands.Add("give", "give back a holder's trails", Give);
    pGive->add_option("HOLDER", args.strHolder, "the name given to 'take'")->required();
    commands.Add("list", "show holders and busy trails", ListTrails);
    return commands.RunGiven();
}

}  // namespace host
