#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Topology/HamAddress.h"
#include "Utils/Json.h"
#include "pl.h"

namespace Drivers {
struct DriverArgs;
}

// The board's access tree: how every chip is reached, from the access media at the top down through
// accelerators, buses and muxes to devices and their components. Built once from the topology
// document, then only read.
namespace Topology {

using Value = Utils::Json::Value;

class TopologyVisitor;

class Node {
 public:
   Node() = default;
   virtual ~Node() = default;
   Node( const Node& ) = delete;
   Node& operator=( const Node& ) = delete;

   // Post-order walk with early stop: children first, in order, then the visit of this node. A
   // child that returns false stops the walk; its ancestors are still visited, innermost first, and
   // the walk returns false.
   virtual bool accept( TopologyVisitor* visitor ) const;

   // The visit of this node alone.
   virtual bool visitBy( TopologyVisitor* visitor ) const;

   // Enters the node's label, when its object has one, in the label index.
   static void init( const std::shared_ptr< Node >& node, const Value& json );

   const Node* parent = nullptr;  // null for the root and for nodes of no tree
};

class MediumNode : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override = 0;

   std::string ham;  // HAM registry name for everything below
};

class Component : public Node {
 public:
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< Component > fromJSON( const Value& json );

   uint32_t uid = 0;
};

class Device : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< Device > fromJSON( const Value& json );

   uint32_t did = 0;
   std::shared_ptr< Drivers::DriverArgs > args;  // null when not declared inline
   std::vector< std::shared_ptr< Component > > components;
};

class Mux;

class Bus : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< Bus > fromJSON( const Value& json );
   static void init( const std::shared_ptr< Bus >& bus, const Value& json );

   uint32_t id = 0;  // bus number on its master, or the channel value below a mux
   std::vector< std::shared_ptr< Device > > devices;
   std::vector< std::shared_ptr< Mux > > muxes;
};

using BusMap = std::map< uint32_t, std::shared_ptr< Bus > >;

class Mux : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< Mux > fromJSON( const Value& json );

   uint32_t did = 0;  // of the multiplexer chip
   BusMap busses;     // by channel value
};

class Accelerator : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< Accelerator > fromJSON( const Value& json );

   uint32_t id = 0;
   BusMap busses;
};

using AcceleratorMap = std::map< uint32_t, std::shared_ptr< Accelerator > >;

class SCD : public MediumNode {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< SCD > fromJSON( const Value& json );

   uint32_t reserved = 0;
   PCIAddress pci = 0;
   AcceleratorMap accelerators;
};

class Celestica : public MediumNode {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< Celestica > fromJSON( const Value& json );

   AcceleratorMap accelerators;
};

class FbDomFpga : public MediumNode {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< FbDomFpga > fromJSON( const Value& json );

   PCIAddress pci = 0;
   BusMap busses;
};

class LinuxFs : public MediumNode {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< LinuxFs > fromJSON( const Value& json );

   std::vector< std::shared_ptr< Device > > devices;
};

// A medium that is itself one bus.
class I2C : public MediumNode, public Bus {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< I2C > fromJSON( const Value& json );

   bool simulated = false;
};

class IOPort : public MediumNode, public Bus {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< IOPort > fromJSON( const Value& json );
};

class PLM : public MediumNode, public Bus {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< PLM > fromJSON( const Value& json );
};

class SccSpi : public MediumNode, public Bus {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;
   static std::shared_ptr< SccSpi > fromJSON( const Value& json );
};

class Topology : public Node {
 public:
   bool accept( TopologyVisitor* visitor ) const override;
   bool visitBy( TopologyVisitor* visitor ) const override;

   // The root of a parsed document, owned by the caller; null when memory ran out.
   static Topology* fromJSON( const Value& json );

   // What a walk from the root that stops at the first match visits from the match on: the node
   // itself, then every ancestor up to and including the root. False when nothing matches.
   bool acceptFromDevice( uint32_t did, TopologyVisitor* visitor ) const;
   bool acceptFromComponent( uint32_t uid, TopologyVisitor* visitor ) const;

   // The first device or component, in walk order, with this id; null when there is none.
   const Device* findDevice( uint32_t did ) const;
   const Component* findComponent( uint32_t uid ) const;

   std::vector< std::shared_ptr< MediumNode > > mediums;

 private:
   class Indexer;

   void buildIndex();

   std::vector< std::pair< uint32_t, const Device* > > devices_;        // by did
   std::vector< std::pair< uint32_t, const Component* > > components_;  // by uid
};

// Visits return true to go on, false to stop the walk.
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

 protected:
   ~TopologyVisitor() = default;
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

extern Topology* _topology;                             // null until a document was loaded
extern std::string _topology_json;                      // the text it was built from
extern std::map< std::string, Node* > _topology_index;  // by label

// Makes the document current. PL_STATUS_OK also when the same text is loaded already,
// PL_STATUS_UNSUPPORTED when the text is not JSON, PL_STATUS_FAILURE when no tree could be built;
// in both failures the earlier tree stays. A document of the wrong shape is an assertion.
pl_status loadTopology( const char* json );

// The first device of the current tree with this id, or null.
const Device* findDevice( uint32_t did );

Node* getNodeByLabel( const char* label );
Device* getDeviceByLabel( const char* label );
Bus* getBusByLabel( const char* label );

// Whether the text is an inline JSON object rather than a label.
bool isDeviceObject( const char* text );

// Fills the address word from an address object; the command word stays as it is.
void fillAddressFromJSON( const Value& value, HamAddress& addr );

}  // namespace Topology
