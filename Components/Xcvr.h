#pragma once

#include <cstdint>

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// Pluggable optical modules: control and status lines, 0 or 1. The port id stands between the
// virtual-table pointer and the host's structure, and is what the callbacks trace.

struct TracePort {
   template < typename Xcvr >
   static void trace( const char* name, const void*, const Xcvr& xcvr, int* = nullptr ) {
      pl_trace( kCallbackLevel, "%s(%u)", name, xcvr.id );
   }
   template < typename Xcvr >
   static void trace( const char* name, const void*, const Xcvr& xcvr, int value ) {
      pl_trace( kCallbackLevel, "%s(%u, %d)", name, xcvr.id, value );
   }
};

class SfpXcvr {
 public:
   explicit SfpXcvr( unsigned int portId ) : id( portId ) {}
   virtual ~SfpXcvr() = default;

   virtual int getPresence() = 0;
   [[nodiscard]] virtual pl_status getTxFault( int* value ) = 0;
   [[nodiscard]] virtual pl_status getRxLos( int* value ) = 0;
   [[nodiscard]] virtual pl_status getTxDisable( int* value ) = 0;
   [[nodiscard]] virtual pl_status setTxDisable( int value ) = 0;

   pl_xcvr* record() { return record_.get(); }

   static constexpr auto getPresenceCallback =
      callback< pl_xcvr, "getPresenceCallback", &SfpXcvr::getPresence, TracePort >;
   static constexpr auto getTxFaultCallback =
      callback< pl_xcvr, "getTxFaultCallback", &SfpXcvr::getTxFault, TracePort >;
   static constexpr auto getRxLosCallback =
      callback< pl_xcvr, "getRxLosCallback", &SfpXcvr::getRxLos, TracePort >;
   static constexpr auto getTxDisableCallback =
      callback< pl_xcvr, "getTxDisableCallback", &SfpXcvr::getTxDisable, TracePort >;
   static constexpr auto setTxDisableCallback =
      callback< pl_xcvr, "setTxDisableCallback", &SfpXcvr::setTxDisable, TracePort >;
   static const pl_xcvr_ops ops_;

   const uint32_t id;

 private:
   HostRecord< pl_xcvr > record_{ &ops_, this };
};

// The lines that QSFP and CMIS modules have in common.
class QuadXcvr {
 public:
   QuadXcvr( unsigned int portId, const pl_xcvr_ops* ops ) : id( portId ), record_( ops, this ) {}
   virtual ~QuadXcvr() = default;

   virtual int getPresence() = 0;
   [[nodiscard]] virtual pl_status getModSel( int* value ) = 0;
   [[nodiscard]] virtual pl_status setModSel( int value ) = 0;
   [[nodiscard]] virtual pl_status getLpMode( int* value ) = 0;
   [[nodiscard]] virtual pl_status setLpMode( int value ) = 0;
   [[nodiscard]] virtual pl_status getReset( int* value ) = 0;
   [[nodiscard]] virtual pl_status setReset( int value ) = 0;
   [[nodiscard]] virtual pl_status getInterrupt( int* value ) = 0;

   pl_xcvr* record() { return record_.get(); }

   static constexpr auto getPresenceCallback =
      callback< pl_xcvr, "getPresenceCallback", &QuadXcvr::getPresence, TracePort >;
   static constexpr auto getModSelCallback =
      callback< pl_xcvr, "getModSelCallback", &QuadXcvr::getModSel, TracePort >;
   static constexpr auto setModSelCallback =
      callback< pl_xcvr, "setModSelCallback", &QuadXcvr::setModSel, TracePort >;
   static constexpr auto getLpModeCallback =
      callback< pl_xcvr, "getLpModeCallback", &QuadXcvr::getLpMode, TracePort >;
   static constexpr auto setLpModeCallback =
      callback< pl_xcvr, "setLpModeCallback", &QuadXcvr::setLpMode, TracePort >;
   static constexpr auto getResetCallback =
      callback< pl_xcvr, "getResetCallback", &QuadXcvr::getReset, TracePort >;
   static constexpr auto setResetCallback =
      callback< pl_xcvr, "setResetCallback", &QuadXcvr::setReset, TracePort >;
   static constexpr auto getInterruptCallback =
      callback< pl_xcvr, "getInterruptCallback", &QuadXcvr::getInterrupt, TracePort >;

   const uint32_t id;

 private:
   HostRecord< pl_xcvr > record_;
};

class QsfpXcvr : public QuadXcvr {
 public:
   explicit QsfpXcvr( unsigned int portId ) : QuadXcvr( portId, &ops_ ) {}

   static const pl_xcvr_ops ops_;
};

class CmisXcvr : public QuadXcvr {
 public:
   explicit CmisXcvr( unsigned int portId ) : QuadXcvr( portId, &ops_ ) {}

   static const pl_xcvr_ops ops_;
};

}  // namespace Component::LogicalDevice
