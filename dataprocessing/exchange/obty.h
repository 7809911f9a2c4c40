#pragma once

/// @file
/// The object types that the library's classes have in tagged streams: the name stands in ASCII
/// streams, the number in binary ones. Numbers from 4096 to 8191 belong to the library.

/// The type name of a linear coordinate transformation.
inline constexpr const char obty_CoordTransformString[] = "CoordTransform";
/// The type number of a linear coordinate transformation.
inline constexpr unsigned short obty_CoordTransformType = 4096;

/// The type name of an object that has a name and no type of its own.
inline constexpr const char obty_NamedObjectString[] = "NamedObject";
/// The type number of an object that has a name and no type of its own.
inline constexpr unsigned short obty_NamedObjectType = 4097;
