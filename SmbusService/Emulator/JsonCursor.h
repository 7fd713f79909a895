#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Utils/Json.h"

namespace SmbusService::Emulator {

// A JSON text with a name for messages, its file's as a rule.
class JsonFile {
 public:
   // These throw std::runtime_error with the name when there is no such file, or no JSON in it.
   explicit JsonFile( const std::string& path );
   JsonFile( std::string name, const std::string& text );

   const std::string& name() const { return name_; }
   const Utils::Json::Value& root() const { return document_; }

 private:
   std::string name_;
   Utils::Json::Document document_;
};

// A value in such a text that knows where it stands. Whatever is not as expected throws
// std::runtime_error with file, JSON pointer and problem. The JsonFile must outlive it.
class JsonCursor {
 public:
   explicit JsonCursor( const JsonFile& file ) : file_( &file ), value_( &file.root() ) {}

   JsonCursor member( const char* name ) const;
   std::optional< JsonCursor > find( const char* name ) const;  // null counts as absent
   std::vector< JsonCursor > elements() const;
   std::vector< JsonCursor > elementsOf( const char* name ) const;  // none when absent
   std::vector< JsonCursor > members() const;
   const std::string& name() const { return name_; }  // of a member, or index of an element

   uint32_t asUint() const;
   uint32_t asUint( uint32_t greatest ) const;
   int32_t asInt() const;
   bool asBool() const;
   double asNumber() const;
   std::string asString() const;

   [[noreturn]] void fail( const std::string& problem ) const;

 private:
   JsonCursor( const JsonCursor& parent, std::string name, const Utils::Json::Value& value );
   void expect( bool condition, const char* what ) const;

   const JsonFile* file_;
   const Utils::Json::Value* value_;
   std::string pointer_;
   std::string name_;
};

}  // namespace SmbusService::Emulator
