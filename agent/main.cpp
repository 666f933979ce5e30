#include <csignal>
#include <exception>
#include <memory>
#include <system_error>

#include "agent/HostingAgent.h"
#include "agent/Options.h"
#include "agent/TreeCheck.h"
#include "central/DefaultTraceHandle.h"
#include "mount/Log.h"
#include "runtime/ringlog/Handle.h"

namespace {

using namespace Oru::Agent;

int supervise(Options const& options, Oru::Mount::Log const& log) {
  Oru::Central::_defaultTraceHandle().levelsAre(options.traceLevels);
  if (!options.ringlog.empty()) try {
      Ringlog::defaultRinglogHandleIs(
          std::make_unique<Ringlog::Handle>(std::make_unique<Ringlog::TraceFile>(options.ringlog)));
    } catch (std::system_error const& error) {
      log.error(error.what());
      return exitTree;
    }
  int code = exitFailure;
  {
    HostingAgent agent(options, log);
    code = agent.run();
  }
  Ringlog::defaultRinglogHandleIs(nullptr);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  int code = exitOk;
  auto const options = optionsOf(argc, argv, code);
  if (!options) return code;
  Oru::Mount::Log const log("oru-agent");
  // A log that nobody reads any more is no reason to stop supervising.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return options->check ? checkTree(options->tree) : supervise(*options, log);
  } catch (std::exception const& error) {
    log.error(error.what());
    return exitFailure;
  }
}
