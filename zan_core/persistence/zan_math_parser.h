#pragma once

#include "zan_core/zan_types.h"

class CFixedPoint;
class CString;

/// Arithmetic in text: numbers, + - * / from left to right with the usual priorities, and parentheses. All of
/// it is CFixedPoint arithmetic, which gives the same on every machine: no overflow or division by zero
/// fails.
namespace NMathParser
{
enum EKind : int32
{
    Number = 0,
    Add = 1,
    Subtract = 2,
    Multiply = 3,
    Divide = 4,
    Open = 5,
    Close = 6
};

template <typename T>
struct SMathToken
{
    int32 _Kind = Number;
    T _Value = T(); // of a Number
};

/// Sets Result to the value of Expression, or leaves it and gives false when that has none: an operator lacks
/// an operand, numbers stand side by side, or a parenthesis is left open. What is none of the characters of
/// an expression is passed over, as is a ')' without its '('. Numbers have an optional minus and the
/// precision of float: 16777217 is 16777216, and "1.2.3" is 1.2. Linear time, no allocation for up to 128
/// tokens, no locale. Any thread.
bool Evaluate( const CString& Expression, CFixedPoint& Result );
} // namespace NMathParser
