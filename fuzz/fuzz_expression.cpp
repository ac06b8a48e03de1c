#include "fuzz/fuzz_target.h"
#include "zan_core/persistence/tests/zan_math_reference.h"
#include "zan_core/persistence/zan_math_parser.h"
#include "zan_core/text/zan_string.h"

// Any bytes evaluate or fail; what recursive descent takes for an expression has the value that it says.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pData, size_t Size )
{
    const CFixedPoint Untouched = 12345;
    const std::string Text( pData, pData + Size );
    CFixedPoint Result = Untouched;
    const bool bValid = NMathParser::Evaluate( CString( Text ), Result );
    const auto Expected = CMathReference::Evaluate( Text );
    Require( Expected.has_value() ? bValid && Result == *Expected : bValid || Result == Untouched );
    return 0;
}
