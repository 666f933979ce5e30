#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

std::string reasonText(Central::ResetReason reason) { return Tools::textOf(stringValue(reason)); }

void print(TreeData const& data, Context const& context) {
  Table table({{"REQUESTED"}, {"BY"}, {"RESET OF"}, {"STATE"}, {"REASON"}, {"CAUSE"}});
  for (auto const& row : resetsOf(data))
    table.add({{timeText(row.data->genTime.seconds())},
               {row.requester},
               {textOf(row.data->key)},
               {wordOf(row.state), row.state == ResetState::pending ? Tone::busy : Tone::plain},
               {reasonText(row.data->reason)},
               {Tools::textOf(row.data->cause)}});
  if (table.empty())
    context.out << "there are no reset requests\n";
  else
    table.print(context.out, context.style);
}

Json name(Vunda::String const& text) { return text.empty() ? Json() : Json(text.view()); }

void addJson(TreeData const& data, Json& document) {
  document["resets"] = Json::array();
  for (auto const& row : resetsOf(data)) {
    auto const& reset = *row.data;
    document["resets"].push_back({{"requester", row.requester},
                                  {"type", stringValue(reset.key.resetType()).view()},
                                  {"slice", name(reset.key.sliceName())},
                                  {"chip", name(reset.key.chipName())},
                                  {"state", wordOf(row.state)},
                                  {"cause", reset.cause.view()},
                                  {"reason", static_cast<std::uint32_t>(reset.reason)},
                                  {"genTime", jsonOfTime(reset.genTime.seconds())}});
  }
}

}  // namespace

ShowSection const showResets{"resets", "what was asked to be reset, and whether it was answered",
                             print, addJson};

}  // namespace Oru::Tools
