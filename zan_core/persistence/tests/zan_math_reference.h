#pragma once

#include "zan_core/numerics/zan_fixed_point.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

/// Arithmetic by recursive descent, to compare with: what an expression without mistakes gives, in the "C"
/// locale, and nothing for any other text or one that is nested too deep.
class CMathReference
{
public:
    static std::optional<CFixedPoint> Evaluate( const std::string& Text )
    {
        CMathReference Reference( Text.c_str() );
        const CFixedPoint Value = Reference.ReadSum();
        const bool bAll = Reference._pNext == Text.c_str() + Text.size();
        return bAll && !Reference._bFailed ? std::optional( Value ) : std::nullopt;
    }

private:
    explicit CMathReference( const char* pText ) : _pNext( pText ) {}

    CFixedPoint ReadSum()
    {
        CFixedPoint Sum = ReadProduct();
        while ( *_pNext == '+' || *_pNext == '-' )
        {
            const bool bAdds = *_pNext++ == '+';
            const CFixedPoint Value = ReadProduct();
            Sum = bAdds ? Sum + Value : Sum - Value;
        }
        return Sum;
    }

    CFixedPoint ReadProduct()
    {
        CFixedPoint Product = ReadOperand();
        while ( *_pNext == '*' || *_pNext == '/' )
        {
            const bool bMultiplies = *_pNext++ == '*';
            const CFixedPoint Value = ReadOperand();
            Product = bMultiplies ? Product * Value : Product / Value;
        }
        return Product;
    }

    CFixedPoint ReadOperand()
    {
        if ( *_pNext != '(' )
        {
            const size_t Sign = *_pNext == '-' ? 1 : 0;
            const size_t Size = std::strspn( _pNext + Sign, "0123456789." );
            const std::string Number( _pNext, Sign + Size );
            _bFailed = _bFailed || Size == 0;
            _pNext += Number.size();
            return CFixedPoint( static_cast<float>( std::strtod( Number.c_str(), nullptr ) ) );
        }
        if ( ++_Depth > 1000 )
        {
            _bFailed = true;
            return CFixedPoint();
        }
        ++_pNext;
        const CFixedPoint Value = ReadSum();
        _bFailed = _bFailed || *_pNext != ')';
        _pNext += _bFailed ? 0 : 1;
        --_Depth;
        return Value;
    }

    const char* _pNext;
    int _Depth = 0;
    bool _bFailed = false;
};
