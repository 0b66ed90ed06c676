#pragma once

#include "commands/ledger.h"
#include "view/output.h"

#include <json/value.h>

#include <list>
#include <string>

namespace host {

Json::Value ToJson(const std::list<NSTE_util::TEOperObject>& listObj);
Json::Value ToJson(const Grant& grant);

// "operation 101 on NE 5".
std::string RequestText(int nOper, const std::string& strObjects);

// The list of grants that 'running' shows.
void ShowGrants(const Output& out, const std::list<Grant>& listGrant);

// "operation 101 on NE 5/7, held by alice since ...", of what is in the way.
std::string BlockerText(const Refusal& refusal);

// Why a request was refused, in lines that each begin with a line feed: what is in the way and
// since when, the rule and the line of the code. Adds the same to the record.
std::string RefusalText(const Refusal& refusal, Json::Value& record);

}  // namespace host
