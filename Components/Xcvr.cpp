#include "Components/Xcvr.h"

#include <string>

#include "Components/LogicalDevice.h"
#include "Utils/Assert.h"
#include "Utils/Numbers.h"

namespace {

// A missing or unknown argument is a mistake in the platform's own description of the board.
const std::string& requiredArgument( const Drivers::DriverArgs& args, const char* key ) {
   auto it = args.driverArgs.find( key );
   if ( it == args.driverArgs.end() ) {
      pl_trace( 0, "No %s argument given for Xcvr", key );
   }
   LUMEN_ASSERT( it != args.driverArgs.end() );
   return it->second;
}

template < typename Xcvr >
pl_xcvr* recordOf( Xcvr* xcvr, const char* failed ) {
   if ( !xcvr ) {
      pl_trace( 0, "%s", failed );
      return nullptr;
   }
   return xcvr->record();
}

pl_xcvr* newXcvr( Component::DeviceBase* device, const Drivers::DriverArgs& args ) {
   auto id = static_cast< unsigned int >( Utils::stoi( requiredArgument( args, "id" ) ) );
   const std::string& type = requiredArgument( args, "type" );
   if ( type == "qsfp" || type == "qsfp+" ) {
      return recordOf( device->newQsfpXcvr( id, args ), "newQsfpXcvr() failed" );
   }
   if ( type == "sfp" || type == "sfp+" ) {
      return recordOf( device->newSfpXcvr( id, args ), "newSfpXcvr() failed" );
   }
   bool cmis = type == "qsfpDd" || type == "qsfpCmis";
   if ( !cmis ) {
      pl_trace( 0, "Xcvr type %s not supported", type.c_str() );
   }
   LUMEN_ASSERT_TEXT( cmis, "false && \"Xcvr type not supported\"" );
   return recordOf( device->newCmisXcvr( id, args ), "newCmisXcvr() failed" );
}

}  // namespace

pl_status pl_xcvr_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_xcvr* pl_xcvr_add( const char* deviceArgsJson ) {
   Drivers::DriverArgs args;
   Component::DeviceBase* device = Component::DeviceBase::create( deviceArgsJson, args );
   if ( !device ) {
      pl_trace( 0, "DeviceBase::create() failed" );
      return nullptr;
   }
   return newXcvr( device, args );
}

namespace Component::LogicalDevice {

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
   .family = { .qsfp =
                  {
                     .size = sizeof( pl_qsfp_ops ),
                     .get_presence = getPresenceCallback,
                     .get_mod_sel = getModSelCallback,
                     .set_mod_sel = setModSelCallback,
                     .get_lp_mode = getLpModeCallback,
                     .set_lp_mode = setLpModeCallback,
                     .get_reset = getResetCallback,
                     .set_reset = setResetCallback,
                     .get_interrupt = getInterruptCallback,
                  } },
};

const pl_xcvr_ops CmisXcvr::ops_ = {
   .size = sizeof( pl_xcvr_ops ),
   .type = PL_XCVR_CMIS,
   .family = { .cmis =
                  {
                     .size = sizeof( pl_cmis_ops ),
                     .get_presence = getPresenceCallback,
                     .get_mod_sel = getModSelCallback,
                     .set_mod_sel = setModSelCallback,
                     .get_lp_mode = getLpModeCallback,
                     .set_lp_mode = setLpModeCallback,
                     .get_reset = getResetCallback,
                     .set_reset = setResetCallback,
                     .get_interrupt = getInterruptCallback,
                  } },
};

SfpXcvr::SfpXcvr( unsigned int portId )
    : id( portId ), record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

QuadXcvr::QuadXcvr( unsigned int portId, const pl_xcvr_ops* ops )
    : id( portId ), record_{ .host = nullptr, .ops = ops, .priv = this } {}

namespace {

template < typename Xcvr >
int presence( const char* name, pl_xcvr* record ) {
   auto xcvr = objectOf< Xcvr >( record );
   pl_trace( 4, "%s(%u)", name, xcvr->id );
   return xcvr->getPresence();
}

template < typename Xcvr >
pl_status get( const char* name,
               pl_xcvr* record,
               pl_status ( Xcvr::*getter )( int* ),
               int* value ) {
   auto xcvr = objectOf< Xcvr >( record );
   pl_trace( 4, "%s(%u)", name, xcvr->id );
   return ( xcvr->*getter )( value );
}

template < typename Xcvr >
pl_status set( const char* name, pl_xcvr* record, pl_status ( Xcvr::*setter )( int ), int value ) {
   auto xcvr = objectOf< Xcvr >( record );
   pl_trace( 4, "%s(%u, %d)", name, xcvr->id, value );
   return ( xcvr->*setter )( value );
}

}  // namespace

int SfpXcvr::getPresenceCallback( pl_xcvr* xcvr ) {
   return presence< SfpXcvr >( __FUNCTION__, xcvr );
}
pl_status SfpXcvr::getTxFaultCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &SfpXcvr::getTxFault, value );
}
pl_status SfpXcvr::getRxLosCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &SfpXcvr::getRxLos, value );
}
pl_status SfpXcvr::getTxDisableCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &SfpXcvr::getTxDisable, value );
}
pl_status SfpXcvr::setTxDisableCallback( pl_xcvr* xcvr, int value ) {
   return set( __FUNCTION__, xcvr, &SfpXcvr::setTxDisable, value );
}

int QuadXcvr::getPresenceCallback( pl_xcvr* xcvr ) {
   return presence< QuadXcvr >( __FUNCTION__, xcvr );
}
pl_status QuadXcvr::getModSelCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &QuadXcvr::getModSel, value );
}
pl_status QuadXcvr::setModSelCallback( pl_xcvr* xcvr, int value ) {
   return set( __FUNCTION__, xcvr, &QuadXcvr::setModSel, value );
}
pl_status QuadXcvr::getLpModeCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &QuadXcvr::getLpMode, value );
}
pl_status QuadXcvr::setLpModeCallback( pl_xcvr* xcvr, int value ) {
   return set( __FUNCTION__, xcvr, &QuadXcvr::setLpMode, value );
}
pl_status QuadXcvr::getResetCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &QuadXcvr::getReset, value );
}
pl_status QuadXcvr::setResetCallback( pl_xcvr* xcvr, int value ) {
   return set( __FUNCTION__, xcvr, &QuadXcvr::setReset, value );
}
pl_status QuadXcvr::getInterruptCallback( pl_xcvr* xcvr, int* value ) {
   return get( __FUNCTION__, xcvr, &QuadXcvr::getInterrupt, value );
}

}  // namespace Component::LogicalDevice
