#pragma once

#include "zan_core/zan_types.h"

/// Pseudo-random numbers that are a function of a position and a seed: a sequence can be replayed, or started
/// anywhere, and is the same on every machine. A draw moves the position on by one. Good enough for games and
/// tests; not for secrets. The mixing is Squirrel Eiserloh's ("Math for Game Programmers: Noise-Based RNG",
/// Game Developers Conference 2017).
///
///     SNoiseRandom Random{ ._Position = 0, ._Seed = LevelSeed };
///     const int32 Side = Random.DrawInRange( 1, 6 );
struct SNoiseRandom
{
    uint32 _Position = 0;
    uint32 _Seed = 0;

    /// The number at a position.
    static constexpr uint32 Calc( uint32 Position, uint32 Seed );

    constexpr uint32 Draw() { return Calc( _Position++, _Seed ); }

    /// Two draws.
    constexpr uint64 DrawUint64();

    /// From 0 to 1, to which only the last 64 of 2^31 values round.
    constexpr float DrawFloat() { return static_cast<float>( Draw() & 0x7FFFFFFF ) * 4.656613e-10f; }

    /// One of the bounds, which may come in either order, or a number between them. Takes 31 bits modulo the
    /// size of the range, so larger ranges than that are not reached as a whole.
    constexpr int32 DrawInRange( int32 First, int32 Last );
};

constexpr uint32 SNoiseRandom::Calc( uint32 Position, uint32 Seed )
{
    uint32 Value = Position * 0xB5297A4D + Seed;
    Value = ( Value ^ ( Value >> 8 ) ) + 0x68E31DA4;
    Value = ( Value ^ ( Value << 8 ) ) * 0x1B56C4E9;
    Value = ( Value ^ ( Value >> 8 ) ) * 0x92D68CA2;
    return Value ^ ( Value >> 8 );
}

constexpr uint64 SNoiseRandom::DrawUint64()
{
    const uint64 High = Draw() & 0x7FFFFFFF;
    return High << 32 | Draw();
}

constexpr int32 SNoiseRandom::DrawInRange( int32 First, int32 Last )
{
    const uint32 Low = static_cast<uint32>( First < Last ? First : Last );
    const uint32 High = static_cast<uint32>( First < Last ? Last : First );
    const uint32 Value = Draw() & 0x7FFFFFFF;
    const uint32 Count = High - Low + 1; // 0 for all numbers there are
    return static_cast<int32>( Low + ( Count != 0 ? Value % Count : Value ) );
}
