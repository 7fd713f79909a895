#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Host {

// The values in a text with lines of "label: value". Other lines, and labels without a value, are
// passed over, whatever they are.
class LabelledText {
 public:
   explicit LabelledText( std::string_view text );

   // Of labels that are there several times, the first one's; empty where there is none.
   std::string value( std::string_view label ) const;

   // What the value begins with, before its unit. Nothing where that is no finite number.
   std::optional< double > number( std::string_view label ) const;

   // Whether any of the label's values begins so.
   bool hasValue( std::string_view label, std::string_view beginning ) const;

 private:
   std::vector< std::pair< std::string, std::string > > values_;
};

}  // namespace Host
