#include "zan_core/runtime/zan_tweakable.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_threads.h"

#include <boost/function.hpp>

#include <string>
#include <tuple>
#include <vector>

namespace
{
std::string Execute( CTweakable& Tweakable, const CZanArray<CString>& Args )
{
    const SCommandResult Result = Tweakable.Execute( Args );
    return Result._Status == 0 ? Result._Text.GetString() : "status";
}
} // namespace

TEST_CASE( "Tweakables are found, set and told by text", "[tweakable]" )
{
    CTweakable* const pFound = NTweakable::Find( "filewatcher.NOTIFICATIONdelay" );
    REQUIRE( pFound != nullptr );
    REQUIRE( pFound->As<CTweakableBool>() == nullptr );
    CTweakableNumber<int32>& Delay = *pFound->As<CTweakableNumber<int32>>();
    REQUIRE( Delay.GetValue() == 100 );
    int32 Calls = 0;
    const uint32 Id = Delay.AddCallback( [ & ]( CTweakable* pTweakable ) { Calls += pTweakable == &Delay; } );
    for ( const auto& [ pText, pAnswer, CallsSoFar ] :
        { std::tuple{ "-5", "Value 0", 1 }, { "7", "Value 7", 2 }, { "7", "Value 7", 2 },
            { "12x", "Value 12", 3 }, { "99999999999999999999", "Value 2147483647", 4 },
            { "none", "Value 0", 5 }, { " 100", "Value 100", 6 } } )
    {
        CAPTURE( pText );
        REQUIRE( ( Execute( Delay, { pText } ) == pAnswer && Calls == CallsSoFar ) );
    }
    REQUIRE( ( Delay.RemoveCallback( Id ) && !Delay.RemoveCallback( Id ) ) );

    bool bSwitch = true;
    CTweakableBool& Switch = NTweakable::Declare( "Test.Switch", "a switch", bSwitch );
    REQUIRE( ( Execute( Switch, {} ) == "Disabled" && Execute( Switch, {} ) == "Enabled" ) );
    for ( const char* const pText : { "FALSE", "No", "0", "off", "" } )
    {
        const bool bOn = *pText == 'o' || *pText == '\0';
        REQUIRE( Execute( Switch, { pText } ) == ( bOn ? "Enabled" : "Disabled" ) );
        CString Text;
        REQUIRE( ( bSwitch == bOn && Switch.GetValueText( Text ) == ( bOn ? "1" : "0" ) ) );
    }
    REQUIRE( NTweakable::GetAll().GetTailData() == &Switch );
    CTweakableBool Empty( "", "", nullptr );
    REQUIRE( Execute( Empty, {} ) == "Disabled" );
}

TEST_CASE( "Tweakables are declared once for each name and class", "[tweakable]" )
{
    static int32 Values[ 2 ] = { 50, 60 };
    static bool bValue = false;
    NTweakable::SetPreset( "TEST.number", "1000" );
    auto& Number = NTweakable::Declare( "Test.Number", "first", Values[ 0 ], 0, 99 );
    REQUIRE( Values[ 0 ] == 99 ); // the preset, clamped
    const CTweakableBool& Other = NTweakable::Declare( "test.number", "", bValue );
    REQUIRE( bValue );
    REQUIRE( NTweakable::Find( "Test.Number" ) == &Number ); // the first
    REQUIRE( &NTweakable::Declare( "tEST.number", "again", Values[ 1 ], 70, 80 ) == &Number );
    REQUIRE( &NTweakable::Declare( "TEST.NUMBER", "", bValue ) == &Other );
    REQUIRE( ( Values[ 1 ] == 60 && Number._Min == 70 && Number._Max == 80 ) );
    REQUIRE( ( Number.GetName() == "tEST.number" && Number.GetDescription() == "again" ) );
    Number.SetValue( 75 );
    REQUIRE( ( Values[ 0 ] == 99 && Values[ 1 ] == 75 ) );

    static bool bShared = false;
    const int32 Former = NTweakable::GetAll().GetSize();
    std::vector<CTweakable*> Declared[ 2 ];
    NZanTestUtils::RunOnTwoThreads( [ & ]( int32 Thread ) {
        for ( int32 i = 0; i < 300; ++i )
        {
            const std::string Name = "Test.Shared" + std::to_string( i );
            Declared[ Thread ].push_back( &NTweakable::Declare( Name.c_str(), "", bShared ) );
            NTweakable::Find( Name.c_str() );
        }
    } );
    REQUIRE( ( NTweakable::GetAll().GetSize() == Former + 300 && Declared[ 0 ] == Declared[ 1 ] ) );
}

TEST_CASE( "Tweakables keep their callbacks in step", "[tweakable]" )
{
    int32 Value = 0;
    CTweakableNumber<int32> Number( "", "", &Value, 0, 100 );
    std::string Calls;
    uint32 Ids[ 5 ];
    for ( uint32 i = 0; i < 5; ++i )
    {
        Ids[ i ] = Number.AddCallback(
            [ &, i, Text = std::string( 40, static_cast<char>( 'a' + i ) ) ]( CTweakable* ) {
                if ( i == 2 ) // removes one that has run, itself, and one to come; adds one for the next time
                {
                    for ( const uint32 Other : { 0U, 2U, 3U } )
                    {
                        REQUIRE( Number.RemoveCallback( Ids[ Other ] ) );
                    }
                    Number.AddCallback( [ & ]( CTweakable* ) { Calls += '+'; } );
                }
                Calls += Text.back(); // the function is still alive
            } );
    }
    Number.SetValue( 1 );
    REQUIRE( Calls == "abce" );
    Calls.clear();
    Number.SetValue( 2 );
    REQUIRE( Calls == "be+" );

    Calls.clear();
    const uint32 Id = Number.AddCallback( [ & ]( CTweakable* ) { Number.SetValue( 50 ); } );
    Number.AddCallback( [ & ]( CTweakable* ) { Calls += std::to_string( Value ); } );
    Number.SetValue( 3 );
    REQUIRE( Calls == "be+be+50" ); // once more for the change from inside, and no old value behind it
    REQUIRE( Number.RemoveCallback( Id ) );

    const uint32 Throwing = Number.AddCallback( boost::function<void( CTweakable* )>() );
    REQUIRE_THROWS_AS( Number.SetValue( 4 ), boost::bad_function_call );
    REQUIRE( Number.RemoveCallback( Throwing ) );
    Calls.clear();
    Number.SetValue( 5 );
    REQUIRE( Calls == "be+5" );
}

TEST_CASE( "Console commands are registered by name", "[tweakable]" )
{
    CCommandRegistry Registry;
    SConsoleCommand Command;
    for ( const char* const pName : { "One", "Two", "oNE" } )
    {
        Command._Name = pName;
        ++Command._ArgumentCount;
        REQUIRE( Registry.Register( Command ) == ( *pName != 'o' ) );
    }
    REQUIRE( ( Registry.GetCommands().GetSize() == 2 && Registry.Find( "Three" ) == nullptr ) );
    REQUIRE( ( Registry.Find( "ONE" )->_Name == "oNE" && Registry.Find( "ONE" )->_ArgumentCount == 3 ) );
}
