#include "Topology/Topology.h"

#include <algorithm>

namespace Topology {

Topology* _topology = nullptr;
std::string _topology_json;
std::map< std::string, Node* > _topology_index;

namespace {

// The place behind the latest label, where the next one often belongs: boards number their labels.
// It holds while the index has grown by Node::init alone.
struct NextLabel {
   std::map< std::string, Node* >::iterator place;
   size_t indexSize = 0;
} nextLabel;

const Node& nodeOf( const std::shared_ptr< Component >& child ) {
   return *child;
}
const Node& nodeOf( const std::shared_ptr< Device >& child ) {
   return *child;
}
const Node& nodeOf( const std::shared_ptr< Mux >& child ) {
   return *child;
}
const Node& nodeOf( const std::shared_ptr< MediumNode >& child ) {
   return *child;
}
template < typename Child >
const Node& nodeOf( const std::pair< const uint32_t, std::shared_ptr< Child > >& child ) {
   return *child.second;
}

template < typename Children >
bool acceptAll( const Children& children, TopologyVisitor* visitor ) {
   return std::ranges::all_of(
      children, [ & ]( const auto& child ) { return nodeOf( child ).accept( visitor ); } );
}

// The node's own part of a walk: a stop below it does not spare it the visit.
template < typename Self >
bool visitAfter( bool goOn, const Self* self, TopologyVisitor* visitor ) {
   bool result = visitor->visit( self );
   return goOn && result;
}

// Equal ids stay in their order. Most boards number their devices in order anyway.
template < typename Found >
void sortById( std::vector< std::pair< uint32_t, const Found* > >& index ) {
   auto byId = []( const auto& row ) { return row.first; };
   if ( !std::ranges::is_sorted( index, {}, byId ) ) {
      std::ranges::stable_sort( index, {}, byId );
   }
}

// Looks first where the id is when all are equally far apart, as on most boards: on a large one,
// the steps of a search cost more than the rest of finding a device.
template < typename Found >
const Found* firstById( const std::vector< std::pair< uint32_t, const Found* > >& index,
                        uint32_t id ) {
   if ( index.empty() || id < index.front().first || id > index.back().first ) {
      return nullptr;
   }
   uint64_t span = index.back().first - index.front().first;
   uint64_t guess = span ? ( index.size() - 1 ) * uint64_t{ id - index.front().first } / span : 0;
   auto it = index.begin() + static_cast< ptrdiff_t >( guess );
   bool isFirst = it->first == id && ( it == index.begin() || std::prev( it )->first != id );
   if ( !isFirst ) {
      it = std::ranges::lower_bound( index, id, {}, []( const auto& row ) { return row.first; } );
   }
   return it->first == id ? it->second : nullptr;
}

void visitUpward( const Node* node, TopologyVisitor* visitor ) {
   for ( ; node; node = node->parent ) {
      node->visitBy( visitor );
   }
}

}  // namespace

void Node::init( const std::shared_ptr< Node >& node, const Value& json ) {
   auto [ label ] = Utils::Json::members< "label" >( json );
   if ( !label ) {
      return;
   }
   std::string name( label->GetString(), label->GetStringLength() );
   size_t known = _topology_index.size();
   bool isNear = known && known == nextLabel.indexSize;
   auto entry = _topology_index.insert_or_assign( isNear ? nextLabel.place : _topology_index.end(),
                                                  std::move( name ), node.get() );
   if ( _topology_index.size() == known ) {
      pl_trace( 0, "label %s is given twice in the topology (using the later)",
                entry->first.c_str() );
   }
   nextLabel = { std::next( entry ), _topology_index.size() };
}

bool Node::accept( TopologyVisitor* visitor ) const {
   return visitBy( visitor );
}

bool Node::visitBy( TopologyVisitor* ) const {
   return true;
}

bool Component::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool Device::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( components, visitor ), this, visitor );
}
bool Device::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool Bus::accept( TopologyVisitor* visitor ) const {
   bool goOn = acceptAll( devices, visitor ) && acceptAll( muxes, visitor );
   return visitBy( visitor ) && goOn;
}
bool Bus::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool Mux::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( busses, visitor ), this, visitor );
}
bool Mux::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool Accelerator::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( busses, visitor ), this, visitor );
}
bool Accelerator::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool SCD::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( accelerators, visitor ), this, visitor );
}
bool SCD::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool Celestica::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( accelerators, visitor ), this, visitor );
}
bool Celestica::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool FbDomFpga::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( busses, visitor ), this, visitor );
}
bool FbDomFpga::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool LinuxFs::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( devices, visitor ), this, visitor );
}
bool LinuxFs::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

// The children are the bus's; the visit at their end is the medium's own.
bool I2C::accept( TopologyVisitor* visitor ) const {
   return Bus::accept( visitor );
}
bool I2C::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool IOPort::accept( TopologyVisitor* visitor ) const {
   return Bus::accept( visitor );
}
bool IOPort::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool PLM::accept( TopologyVisitor* visitor ) const {
   return Bus::accept( visitor );
}
bool PLM::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool SccSpi::accept( TopologyVisitor* visitor ) const {
   return Bus::accept( visitor );
}
bool SccSpi::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

bool Topology::accept( TopologyVisitor* visitor ) const {
   return visitAfter( acceptAll( mediums, visitor ), this, visitor );
}
bool Topology::visitBy( TopologyVisitor* visitor ) const {
   return visitor->visit( this );
}

// Collects in walk order, so that the stable sort keeps the first of equal ids in front.
class Topology::Indexer final : public TopologyVisitor {
 public:
   explicit Indexer( Topology& topology ) : topology_( topology ) {}

   using TopologyVisitor::visit;
   bool visit( const Device* device ) override {
      topology_.devices_.emplace_back( device->did, device );
      return true;
   }
   bool visit( const Component* component ) override {
      topology_.components_.emplace_back( component->uid, component );
      return true;
   }

 private:
   Topology& topology_;
};

void Topology::buildIndex() {
   Indexer indexer( *this );
   accept( &indexer );
   sortById( devices_ );
   sortById( components_ );
}

const Device* Topology::findDevice( uint32_t did ) const {
   return firstById( devices_, did );
}

const Component* Topology::findComponent( uint32_t uid ) const {
   return firstById( components_, uid );
}

bool Topology::acceptFromDevice( uint32_t did, TopologyVisitor* visitor ) const {
   const Device* device = findDevice( did );
   visitUpward( device, visitor );
   return device;
}

bool Topology::acceptFromComponent( uint32_t uid, TopologyVisitor* visitor ) const {
   const Component* component = findComponent( uid );
   visitUpward( component, visitor );
   return component;
}

bool SearchDeviceVisitor::visit( const Device* node ) {
   if ( node->did != did ) {
      return true;
   }
   pl_trace( 2, "Device %u found in topology", did );
   device = node;
   found = true;
   return false;
}

const Device* findDevice( uint32_t did ) {
   SearchDeviceVisitor visitor( did );
   if ( const Device* device = _topology ? _topology->findDevice( did ) : nullptr ) {
      device->visitBy( &visitor );
   }
   return visitor.device;
}

Node* getNodeByLabel( const char* label ) {
   auto it = _topology_index.find( label );
   return it == _topology_index.end() ? nullptr : it->second;
}

Device* getDeviceByLabel( const char* label ) {
   return dynamic_cast< Device* >( getNodeByLabel( label ) );
}

Bus* getBusByLabel( const char* label ) {
   return dynamic_cast< Bus* >( getNodeByLabel( label ) );
}

bool isDeviceObject( const char* text ) {
   return text[ 0 ] == '{';
}

}  // namespace Topology
