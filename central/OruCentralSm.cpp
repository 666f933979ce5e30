#include "central/OruCentralSm.h"

namespace Oru::Central {

using Vunda::Ptr;

Ptr<CentralSm> centralSmFactory(
    Ptr<Kesh::Dir const> const& hwConfigDir, Ptr<Kesh::Dir> const& hwStatusDir,
    Ptr<Kesh::Dir> const& configDir, Ptr<Kesh::Dir> const& statusDir,
    Ptr<SystemStatus> const& systemStatus, Ptr<Kesh::Dir const> const& resetRequestDir,
    Ptr<Kesh::Dir> const& resetStatusDir, Ptr<Kesh::Dir> const& sliceLauncherConfigDir,
    Ptr<Kesh::Dir> const& chipLauncherConfigDir, Ptr<Kesh::Dir> const& featureLauncherConfigDir,
    Ptr<OruHelper::CentralHelper> const& helper) {
  return CentralSm::CentralSmIs(hwConfigDir, hwStatusDir, configDir, statusDir, systemStatus,
                                resetRequestDir, resetStatusDir, sliceLauncherConfigDir,
                                chipLauncherConfigDir, featureLauncherConfigDir, helper);
}

}  // namespace Oru::Central
