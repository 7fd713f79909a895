#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "Topology/HamAddress.h"
#include "Topology/Index.h"
#include "Utils/Json.h"
#include "pl.h"

namespace Drivers {
struct DriverArgs;
}

// The board's access tree: how every chip is reached, from the access media at the top down through
// accelerators, buses and muxes to devices and their components. Built once from the topology
// document, then only read.
namespace Topology {

class Accelerator;
class Celestica;
class FbDomFpga;
class I2C;
class IOPort;
class LinuxFs;
class Mux;
class PLM;
class SCD;
class SccSpi;

// Visits return true to go on, false to stop the walk. Visitors are not deleted through this class.
class TopologyVisitor {
 public:
   virtual bool visit( const Component* ) { return true; }
   virtual bool visit( const Device* ) { return true; }
   virtual bool visit( const Mux* ) { return true; }
   virtual bool visit( const Bus* ) { return true; }
   virtual bool visit( const Accelerator* ) { return true; }
   virtual bool visit( const SCD* ) { return true; }
   virtual bool visit( const I2C* ) { return true; }
   virtual bool visit( const IOPort* ) { return true; }
   virtual bool visit( const Celestica* ) { return true; }
   virtual bool visit( const PLM* ) { return true; }
   virtual bool visit( const LinuxFs* ) { return true; }
   virtual bool visit( const SccSpi* ) { return true; }
   virtual bool visit( const FbDomFpga* ) { return true; }
   virtual bool visit( const Topology* ) { return true; }
};

class Node {
 public:
   Node() = default;
   virtual ~Node() = default;
   Node( const Node& ) = delete;
   Node& operator=( const Node& ) = delete;

   // Post-order walk with early stop: children first, in order, then the visit of this node. A
   // child that returns false stops the walk; its ancestors are still visited, innermost first, and
   // the walk returns false.
   virtual bool accept( TopologyVisitor* ) const { return true; }

   // The visit of this node alone.
   virtual bool visitBy( TopologyVisitor* ) const { return true; }

   // Enters the node's label, when its object has one, in the label index.
   static void init( const std::shared_ptr< Node >& node, const Value& json );

   const Node* parent = nullptr;  // set by the loader; null for the root
};

class MediumNode : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override = 0;

   std::string ham;  // HAM registry name for everything below
};

// The walk of a node class, which tells its children, in order, as a tuple of their containers.
template < typename Self, typename... Bases >
class Visited : public Bases... {
 public:
   bool accept( TopologyVisitor* visitor ) const override {
      auto walk = [ visitor ]( const auto&... containers ) {
         return ( acceptAll( containers, visitor ) && ... );
      };
      bool goOn = std::apply( walk, self().children() );
      // A stop below the node does not spare it the visit.
      return visitor->visit( &self() ) && goOn;
   }

   bool visitBy( TopologyVisitor* visitor ) const override { return visitor->visit( &self() ); }

 private:
   const Self& self() const { return static_cast< const Self& >( *this ); }

   static bool acceptAll( const auto& children, TopologyVisitor* visitor ) {
      for ( const auto& child : children ) {
         if constexpr ( requires { child.second; } ) {
            if ( !child.second->accept( visitor ) ) {
               return false;
            }
         } else if ( !child->accept( visitor ) ) {
            return false;
         }
      }
      return true;
   }
};

class Component : public Visited< Component, Node > {
 public:
   static std::shared_ptr< Component > fromJSON( const Value& json );
   auto children() const { return std::tie(); }

   uint32_t uid = 0;
};

class Device : public Visited< Device, Node > {
 public:
   static std::shared_ptr< Device > fromJSON( const Value& json );
   auto children() const { return std::tie( components ); }

   uint32_t did = 0;
   std::shared_ptr< Drivers::DriverArgs > args;  // null when not declared inline
   std::vector< std::shared_ptr< Component > > components;
};

class Bus : public Visited< Bus, Node > {
 public:
   static std::shared_ptr< Bus > fromJSON( const Value& json );
   static void init( const std::shared_ptr< Bus >& bus, const Value& json );
   auto children() const { return std::tie( devices, muxes ); }

   uint32_t id = 0;  // bus number on its master, or the channel value below a mux
   std::vector< std::shared_ptr< Device > > devices;
   std::vector< std::shared_ptr< Mux > > muxes;
};

using BusMap = std::map< uint32_t, std::shared_ptr< Bus > >;

class Mux : public Visited< Mux, Node > {
 public:
   static std::shared_ptr< Mux > fromJSON( const Value& json );
   auto children() const { return std::tie( busses ); }

   uint32_t did = 0;  // of the multiplexer chip
   BusMap busses;     // by channel value
};

class Accelerator : public Visited< Accelerator, Node > {
 public:
   static std::shared_ptr< Accelerator > fromJSON( const Value& json );
   auto children() const { return std::tie( busses ); }

   uint32_t id = 0;
   BusMap busses;
};

using AcceleratorMap = std::map< uint32_t, std::shared_ptr< Accelerator > >;

class SCD : public Visited< SCD, MediumNode > {
 public:
   static std::shared_ptr< SCD > fromJSON( const Value& json );
   auto children() const { return std::tie( accelerators ); }

   uint32_t reserved = 0;
   PCIAddress pci = 0;
   AcceleratorMap accelerators;
};

class Celestica : public Visited< Celestica, MediumNode > {
 public:
   static std::shared_ptr< Celestica > fromJSON( const Value& json );
   auto children() const { return std::tie( accelerators ); }

   AcceleratorMap accelerators;
};

class FbDomFpga : public Visited< FbDomFpga, MediumNode > {
 public:
   static std::shared_ptr< FbDomFpga > fromJSON( const Value& json );
   auto children() const { return std::tie( busses ); }

   PCIAddress pci = 0;
   BusMap busses;
};

class LinuxFs : public Visited< LinuxFs, MediumNode > {
 public:
   static std::shared_ptr< LinuxFs > fromJSON( const Value& json );
   auto children() const { return std::tie( devices ); }

   std::vector< std::shared_ptr< Device > > devices;
};

// A medium that is itself one bus: the children are the bus's, the visit is the medium's.
template < typename Self >
class BusMedium : public Visited< Self, MediumNode, Bus > {
 public:
   static std::shared_ptr< Self > fromJSON( const Value& json );
};

class I2C : public BusMedium< I2C > {
 public:
   static std::shared_ptr< I2C > fromJSON( const Value& json );

   bool simulated = false;
};

class IOPort : public BusMedium< IOPort > {};
class PLM : public BusMedium< PLM > {};
class SccSpi : public BusMedium< SccSpi > {};

class Topology : public Visited< Topology, Node > {
 public:
   // The root of a parsed document, owned by the caller; null when memory ran out.
   static Topology* fromJSON( const Value& json );
   auto children() const { return std::tie( mediums ); }

   // The walk from the root with a visitor that does nothing before the component `uid`, and stops
   // there, or, where that is DriverArgs::kNoUid, at the device `did`. In a tree as the loader
   // built it, only the find and its ancestors are called on.
   void acceptFor( uint32_t uid, uint32_t did, TopologyVisitor* visitor ) const;

   // The first device in walk order with this id as the index has it. Null when there is none, or
   // when the tree is not as the loader built it.
   const Device* indexedDevice( uint32_t did ) const;

   std::vector< std::shared_ptr< MediumNode > > mediums;

 private:
   Index index_;
};

class SearchDeviceVisitor final : public TopologyVisitor {
 public:
   explicit SearchDeviceVisitor( uint32_t wanted ) : did( wanted ) {}

   using TopologyVisitor::visit;
   bool visit( const Device* node ) override;

   uint32_t did;
   bool found = false;
   const Device* device = nullptr;
};

extern Topology* _topology;         // null until a document was loaded
extern std::string _topology_json;  // the text it was built from

// Makes the document current. PL_STATUS_OK also when the same text is loaded already,
// PL_STATUS_UNSUPPORTED when the text is not JSON, PL_STATUS_FAILURE when no tree could be built;
// in both failures the earlier tree stays. A document of the wrong shape is an assertion.
[[nodiscard]] pl_status loadTopology( const char* json );

// The first device of the current tree with this id, or null.
const Device* findDevice( uint32_t did );

}  // namespace Topology
