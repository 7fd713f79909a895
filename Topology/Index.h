#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Topology {

class Bus;
class Component;
class Device;
class Node;
class Topology;

// The devices and components of a tree by their ids, as they were when the index was built. Of
// equal ids it has the first in walk order.
class Index {
 public:
   void build( const Topology& root );

   // Whether the tree has the media that it had.
   bool isOf( const Topology& root ) const;

   // Null when there is none.
   const Device* device( uint32_t did ) const;
   const Component* component( uint32_t uid ) const;

 private:
   class Collector;

   template < typename Found >
   using ById = std::vector< std::pair< uint32_t, const Found* > >;

   std::vector< const Node* > mediums_;
   ById< Device > devices_;
   ById< Component > components_;
};

extern std::map< std::string, Node* > _topology_index;  // by label

Node* getNodeByLabel( const char* label );
Device* getDeviceByLabel( const char* label );
Bus* getBusByLabel( const char* label );

// Whether the text is an inline JSON object rather than a label.
bool isDeviceObject( const char* text );

}  // namespace Topology
