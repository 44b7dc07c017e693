// Names in profile files: equal when they differ in case only.
#pragma once

#include <cstdint>
#include <string_view>

bool EqualIniNames( std::string_view aLeft, std::string_view aRight ) noexcept;

// Equal for equal names. Differs from process to process, so that nobody can write a file whose names all collide.
uint64_t HashIniName( std::string_view aName ) noexcept;

// Mixes a hash with a number.
uint64_t MixIniHash( uint64_t ullHash, uint64_t ullNumber ) noexcept;
