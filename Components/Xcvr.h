#pragma once

#include <cstdint>

#include "pl.h"

namespace Component::LogicalDevice {

// Pluggable optical modules: control and status lines, 0 or 1. The port id stands between the
// virtual-table pointer and the host's structure, and is what the callbacks trace.

class SfpXcvr {
 public:
   explicit SfpXcvr( unsigned int portId );
   virtual ~SfpXcvr() = default;
   SfpXcvr( const SfpXcvr& ) = delete;
   SfpXcvr& operator=( const SfpXcvr& ) = delete;

   virtual int getPresence() = 0;
   virtual pl_status getTxFault( int* value ) = 0;
   virtual pl_status getRxLos( int* value ) = 0;
   virtual pl_status getTxDisable( int* value ) = 0;
   virtual pl_status setTxDisable( int value ) = 0;

   pl_xcvr* record() { return &record_; }

   static const pl_xcvr_ops ops_;
   static int getPresenceCallback( pl_xcvr* xcvr );
   static pl_status getTxFaultCallback( pl_xcvr* xcvr, int* value );
   static pl_status getRxLosCallback( pl_xcvr* xcvr, int* value );
   static pl_status getTxDisableCallback( pl_xcvr* xcvr, int* value );
   static pl_status setTxDisableCallback( pl_xcvr* xcvr, int value );

   const uint32_t id;

 private:
   pl_xcvr record_;
};

// The lines that QSFP and CMIS modules have in common.
class QuadXcvr {
 public:
   QuadXcvr( unsigned int portId, const pl_xcvr_ops* ops );
   virtual ~QuadXcvr() = default;
   QuadXcvr( const QuadXcvr& ) = delete;
   QuadXcvr& operator=( const QuadXcvr& ) = delete;

   virtual int getPresence() = 0;
   virtual pl_status getModSel( int* value ) = 0;
   virtual pl_status setModSel( int value ) = 0;
   virtual pl_status getLpMode( int* value ) = 0;
   virtual pl_status setLpMode( int value ) = 0;
   virtual pl_status getReset( int* value ) = 0;
   virtual pl_status setReset( int value ) = 0;
   virtual pl_status getInterrupt( int* value ) = 0;

   pl_xcvr* record() { return &record_; }

   static int getPresenceCallback( pl_xcvr* xcvr );
   static pl_status getModSelCallback( pl_xcvr* xcvr, int* value );
   static pl_status setModSelCallback( pl_xcvr* xcvr, int value );
   static pl_status getLpModeCallback( pl_xcvr* xcvr, int* value );
   static pl_status setLpModeCallback( pl_xcvr* xcvr, int value );
   static pl_status getResetCallback( pl_xcvr* xcvr, int* value );
   static pl_status setResetCallback( pl_xcvr* xcvr, int value );
   static pl_status getInterruptCallback( pl_xcvr* xcvr, int* value );

   const uint32_t id;

 private:
   pl_xcvr record_;
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
