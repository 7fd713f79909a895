#include "Topology/Index.h"

#include <algorithm>
#include <iterator>

#include "Topology/Topology.h"

namespace Topology {

std::map< std::string, Node* > _topology_index;

namespace {

constexpr auto kId = []( const auto& row ) { return row.first; };

// Equal ids stay in their order. Most boards number their devices in order anyway.
void sortById( auto& rows ) {
   if ( !std::ranges::is_sorted( rows, {}, kId ) ) {
      std::ranges::stable_sort( rows, {}, kId );
   }
}

// Looks first where the id is when all are equally far apart, as on most boards: on a large one,
// the steps of a search cost more than the rest of finding a device.
auto firstById( const auto& rows, uint32_t id ) -> decltype( rows.front().second ) {
   if ( rows.empty() || id < rows.front().first || id > rows.back().first ) {
      return nullptr;
   }
   uint64_t span = rows.back().first - rows.front().first;
   uint64_t guess = span ? ( rows.size() - 1 ) * uint64_t{ id - rows.front().first } / span : 0;
   auto it = rows.begin() + static_cast< ptrdiff_t >( guess );
   bool isFirst = it->first == id && ( it == rows.begin() || std::prev( it )->first != id );
   if ( !isFirst ) {
      it = std::ranges::lower_bound( rows, id, {}, kId );
   }
   return it->first == id ? it->second : nullptr;
}

constexpr auto kPointer = []( const auto& medium ) -> const Node* { return medium.get(); };

// The place behind the latest label, where the next one often belongs: boards number their labels.
// It holds while the index has grown by Node::init alone.
struct NextLabel {
   std::map< std::string, Node* >::iterator place;
   size_t indexSize = 0;
} nextLabel;

}  // namespace

// Collects in walk order, so that the stable sort keeps the first of equal ids in front.
class Index::Collector final : public TopologyVisitor {
 public:
   explicit Collector( Index& index ) : index_( index ) {}

   using TopologyVisitor::visit;
   bool visit( const Device* device ) override {
      index_.devices_.emplace_back( device->did, device );
      return true;
   }
   bool visit( const Component* component ) override {
      index_.components_.emplace_back( component->uid, component );
      return true;
   }

 private:
   Index& index_;
};

void Index::build( const Topology& root ) {
   *this = Index();
   std::ranges::transform( root.mediums, std::back_inserter( mediums_ ), kPointer );
   Collector collector( *this );
   root.accept( &collector );
   sortById( devices_ );
   sortById( components_ );
}

bool Index::isOf( const Topology& root ) const {
   return std::ranges::equal( mediums_, root.mediums, {}, {}, kPointer );
}

const Device* Index::device( uint32_t did ) const {
   return firstById( devices_, did );
}

const Component* Index::component( uint32_t uid ) const {
   return firstById( components_, uid );
}

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
