#include "zan_test/include/zan_test_catch.h"

#include <functional>
#include <tuple>
#include <type_traits>

namespace
{
template <typename TLeftText, typename TRightText>
struct STextTypePair
{
    using TLeft = TLeftText;
    using TRight = TRightText;
};

using TTextTypePairs = std::tuple<STextTypePair<CString, CZanStringView>, STextTypePair<CString, const char*>,
    STextTypePair<CString, CString>, STextTypePair<CZanStringView, CString>,
    STextTypePair<const char*, CString>>;

template <typename TText>
TText Make( CZanStringView Bytes )
{
    if constexpr ( std::is_same_v<TText, const char*> )
    {
        return Bytes.GetData();
    }
    else
    {
        return TText( Bytes );
    }
}

/// Holds for every pair: sizes and bytes decide, unless one side is a const char*, whose first zero byte ends
/// both sides. Text made from nothing, a null pointer or view included, is empty text.
template <typename TPair, typename TRelation>
void CheckRelation( TRelation Relation )
{
    using TLeft = typename TPair::TLeft;
    using TRight = typename TPair::TRight;
    constexpr bool bAsCStrings = std::is_pointer_v<TLeft> || std::is_pointer_v<TRight>;
    const std::tuple<CZanStringView, CZanStringView, bool> Table[] = { { {}, "", true }, { {}, "a", false },
        { "", "", true }, { "", "a", false }, { "text", "text", true }, { "text", "texT", false },
        { "text", "texts", false }, { "\xE4", "d", false }, { { "a\0b", 3 }, { "a\0b", 3 }, true },
        { { "a\0b", 3 }, { "a\0c", 3 }, bAsCStrings }, { { "a\0", 2 }, "a", bAsCStrings },
        { { "\0", 1 }, "", bAsCStrings }, { { "a\0b", 3 }, { "b\0b", 3 }, false } };
    for ( const auto& [ First, Second, bSame ] : Table )
    {
        CAPTURE( First, Second );
        const bool bExpected = Relation( bSame, true );
        REQUIRE( Relation( Make<TLeft>( First ), Make<TRight>( Second ) ) == bExpected );
        REQUIRE( Relation( Make<TLeft>( Second ), Make<TRight>( First ) ) == bExpected );
    }
}
} // namespace

TEMPLATE_LIST_TEST_CASE( "CString::operator!=", "[string][text][operators]", TTextTypePairs )
{
    CheckRelation<TestType>( std::not_equal_to<>() );
}

TEMPLATE_LIST_TEST_CASE( "CString::operator==", "[string][text][operators]", TTextTypePairs )
{
    CheckRelation<TestType>( std::equal_to<>() );
}
