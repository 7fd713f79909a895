#include "Components/Xcvr.h"

#include <string>

#include "Components/EntryPoint.h"
#include "Drivers/Arguments.h"

namespace {

using namespace Component;
using LogicalDevice::orTraced;
using LogicalDevice::recordOf;

// A missing or unknown argument is a mistake in the platform's own description of the board.
const std::string& requiredArgument( const Drivers::DriverArgs& args,
                                     const char* key,
                                     const char* missing ) {
   if ( !Drivers::findArgument( args.driverArgs, key ) ) {
      LogicalDevice::traceText( 0, missing );
   }
   return LUMEN_FOUND_ARGUMENT( args, key );
}

pl_xcvr* newXcvr( DeviceBase* device, const Drivers::DriverArgs& args ) {
   auto id = static_cast< unsigned int >(
      Utils::stoi( requiredArgument( args, "id", "No id argument given for Xcvr" ) ) );
   const std::string& type = requiredArgument( args, "type", "No type argument given for Xcvr" );
   if ( type == "qsfp" || type == "qsfp+" ) {
      return recordOf( orTraced( device->newQsfpXcvr( id, args ), { 0, "newQsfpXcvr() failed" } ) );
   }
   if ( type == "sfp" || type == "sfp+" ) {
      return recordOf( orTraced( device->newSfpXcvr( id, args ), { 0, "newSfpXcvr() failed" } ) );
   }
   bool cmis = type == "qsfpDd" || type == "qsfpCmis";
   if ( !cmis ) {
      pl_trace( 0, "Xcvr type %s not supported", type.c_str() );
   }
   LUMEN_ASSERT_TEXT( cmis, "false && \"Xcvr type not supported\"" );
   return recordOf( orTraced( device->newCmisXcvr( id, args ), { 0, "newCmisXcvr() failed" } ) );
}

}  // namespace

pl_status pl_xcvr_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_xcvr* pl_xcvr_add( const char* deviceArgsJson ) {
   LogicalDevice::MakersErrno makersErrno;
   Drivers::DriverArgs args;
   DeviceBase* device = DeviceBase::create( deviceArgsJson, args );
   if ( !device ) {
      pl_trace( 0, "DeviceBase::create() failed" );
      return nullptr;
   }
   return makersErrno.of( [ & ] { return newXcvr( device, args ); } );
}

namespace Component::LogicalDevice {

namespace {

// QSFP and CMIS modules have tables of one shape.
template < typename Family >
constexpr Family kQuadOps = {
   .size = sizeof( Family ),
   .get_presence = QuadXcvr::getPresenceCallback,
   .get_mod_sel = QuadXcvr::getModSelCallback,
   .set_mod_sel = QuadXcvr::setModSelCallback,
   .get_lp_mode = QuadXcvr::getLpModeCallback,
   .set_lp_mode = QuadXcvr::setLpModeCallback,
   .get_reset = QuadXcvr::getResetCallback,
   .set_reset = QuadXcvr::setResetCallback,
   .get_interrupt = QuadXcvr::getInterruptCallback,
};

}  // namespace

const pl_xcvr_ops SfpXcvr::ops_ = {
   .size = sizeof( pl_xcvr_ops ),
   .type = PL_XCVR_SFP,
   .family = { .sfp =
                  {
                     .size = sizeof( pl_sfp_ops ),
                     .get_presence = getPresenceCallback,
                     .get_tx_fault = getTxFaultCallback,
                     .get_rx_los = getRxLosCallback,
                     .get_tx_disable = getTxDisableCallback,
                     .set_tx_disable = setTxDisableCallback,
                  } },
};

const pl_xcvr_ops QsfpXcvr::ops_ = {
   .size = sizeof( pl_xcvr_ops ),
   .type = PL_XCVR_QSFP,
   .family = { .qsfp = kQuadOps< pl_qsfp_ops > },
};

const pl_xcvr_ops CmisXcvr::ops_ = {
   .size = sizeof( pl_xcvr_ops ),
   .type = PL_XCVR_CMIS,
   .family = { .cmis = kQuadOps< pl_cmis_ops > },
};

}  // namespace Component::LogicalDevice
