#include <exception>
#include <memory>
#include <system_error>

#include "agent/HostingAgent.h"
#include "agent/Options.h"
#include "agent/TreeCheck.h"
#include "central/DefaultTraceHandle.h"
#include "mount/Log.h"
#include "mount/ProgramStart.h"
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
  Oru::Mount::openStandardDescriptors();
  Oru::Mount::ignoreBrokenPipes();
  int code = exitOk;
  auto const options = optionsOf(argc, argv, code);
  if (!options) return code;
  Oru::Mount::Log const log("oru-agent");
  try {
    return options->check ? checkTree(options->tree) : supervise(*options, log);
  } catch (std::exception const& error) {
    log.error(error.what());
    return exitFailure;
  }
}
