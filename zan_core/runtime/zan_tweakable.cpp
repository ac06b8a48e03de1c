#include "zan_core/runtime/zan_tweakable.h"

#include "zan_core/hashing/zan_unordered_map.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string_utils.h"
#include "zan_core/zan_spin_lock.h"

#include <boost/function.hpp>

#include <mutex>
#include <shared_mutex>

struct CTweakable::SChangeCallback
{
    uint32 _Id;
    boost::function<void( CTweakable* )> _Function;
};

/// Never destroyed, so that static objects may use it while the process ends.
struct STweakableRegistry
{
    static STweakableRegistry& Access()
    {
        static STweakableRegistry* const pRegistry = new STweakableRegistry;
        return *pRegistry;
    }

    STweakableRegistry()
    {
        _Presets.SetMaxLoadFactor( 1.0f );
        _Presets.Reserve( 8 );
    }

    CTweakable& Register( CZanScopedPtr<CTweakable> pNew, NTweakable::NDetail::FRedeclare pRedeclare );

    CZanCountingSpinLock _Lock; // guards the others
    CZanArray<CTweakable*> _List;
    CZanUnorderedMap<CString, CString> _Presets; // by name in lower case
};

namespace
{
int32 GNotificationDelay = 100;
[[maybe_unused]] const CTweakable& GNotificationDelayTweakable =
    NTweakable::Declare( "Filewatcher.NotificationDelay", "", GNotificationDelay, 0, 2147483647 );
} // namespace

// --- CTweakable

CTweakable::CTweakable( CZanStringView Name, CZanStringView Description, void* pValue )
    : _pValue( pValue ), _Name( Name ), _Description( Description )
{}

CTweakable::~CTweakable() = default;

SCommandResult CTweakable::Execute( const CZanArray<CString>& Args )
{
    if ( !Args.IsEmpty() )
    {
        SetValueText( Args[ 0 ] );
    }
    CString Text;
    return { 0, "Value " + GetValueText( Text ) };
}

uint32 CTweakable::AddCallback( const boost::function<void( CTweakable* )>& Function )
{
    static constinit std::atomic<uint32> LastId = 0;
    const uint32 Id = ++LastId;
    _Callbacks.Append( SChangeCallback{ Id, Function } );
    return Id;
}

bool CTweakable::RemoveCallback( uint32 Id )
{
    const int32 Index =
        _Callbacks.FindIndexIf( [ & ]( const SChangeCallback& Callback ) { return Callback._Id == Id; } );
    if ( Index < 0 )
    {
        return false;
    }
    _Callbacks.RemoveAt( Index );
    if ( Index < _CallbackEnd ) // keeps the loop in step
    {
        --_CallbackEnd;
        _CallbackIndex -= Index <= _CallbackIndex ? 1 : 0;
    }
    return true;
}

/// A change from inside a callback starts the running loop anew instead of another one inside it, so that no
/// callback sees values out of order and nothing recurses.
void CTweakable::CallCallbacks()
{
    const bool bRunning = _CallbackEnd != 0;
    _CallbackIndex = bRunning ? -1 : 0;
    _CallbackEnd = _Callbacks.GetSize();
    if ( bRunning )
    {
        return;
    }
    struct SRest
    {
        ~SRest() { _Tweakable._CallbackIndex = _Tweakable._CallbackEnd = 0; }
        CTweakable& _Tweakable;
    } const Rest{ *this };
    for ( ; _CallbackIndex < _CallbackEnd; ++_CallbackIndex )
    {
        const auto Function = _Callbacks[ _CallbackIndex ]._Function; // stays alive when it removes itself
        Function( this );
    }
}

void CTweakable::Redeclare( const CTweakable& New )
{
    _Name = New._Name;
    _Description = New._Description;
    _pValue = New._pValue;
}

// --- Classes

template <>
CString& CTweakableNumber<int32>::ValueToText( CString& Out, const int32& Value ) const
{
    char Buffer[ 12 ];
    return Out = NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), Value );
}

template <>
int32 CTweakableNumber<int32>::TextToValue( const CString& Text ) const
{
    return NConsole::ReadInteger( Text );
}

SCommandResult CTweakableBool::Execute( const CZanArray<CString>& Args )
{
    if ( Args.IsEmpty() )
    {
        SetValue( !GetValue() );
    }
    else
    {
        SetValueText( Args[ 0 ] );
    }
    return { 0, GetValue() ? "Enabled" : "Disabled" };
}

CString& CTweakableBool::ValueToText( CString& Out, const bool& bValue ) const
{
    return Out = bValue ? "1" : "0";
}

bool CTweakableBool::TextToValue( const CString& Text ) const
{
    using NConsole::IsSameName;
    return !IsSameName( Text, "0" ) && !IsSameName( Text, "false" ) && !IsSameName( Text, "no" );
}

// --- The registry

CTweakable& STweakableRegistry::Register(
    CZanScopedPtr<CTweakable> pNew, NTweakable::NDetail::FRedeclare pRedeclare )
{
    const std::scoped_lock Lock( _Lock );
    for ( CTweakable* const pTweakable : _List )
    {
        if ( NConsole::IsSameName( pTweakable->_Name, pNew->_Name ) &&
             pTweakable->_Self.GetTypeHandle() == pNew->_Self.GetTypeHandle() )
        {
            pRedeclare( *pTweakable, *pNew );
            return *pTweakable;
        }
    }
    if ( const CString* const pPreset = _Presets.GetValue( NZanStringUtils::ToLower( pNew->_Name ) ) )
    {
        pNew->SetValueText( *pPreset );
    }
    _List.Append( pNew.GetPtr() );
    return *pNew.Release();
}

CTweakable& NTweakable::NDetail::Register( CZanScopedPtr<CTweakable> pNew, FRedeclare pRedeclare )
{
    return STweakableRegistry::Access().Register( std::move( pNew ), pRedeclare );
}

CTweakableBool& NTweakable::Declare( CZanStringView Name, CZanStringView Description, bool& bVariable )
{
    return ZanDeclareTweakable( ZanMakeScopedPtr<CTweakableBool>( Name, Description, &bVariable ) );
}

CTweakableNumber<int32>& NTweakable::Declare(
    CZanStringView Name, CZanStringView Description, int32& Variable, int32 Min, int32 Max )
{
    return ZanDeclareTweakable(
        ZanMakeScopedPtr<CTweakableNumber<int32>>( Name, Description, &Variable, Min, Max ) );
}

CTweakable* NTweakable::Find( CZanStringView Name )
{
    STweakableRegistry& Registry = STweakableRegistry::Access();
    const std::shared_lock Lock( Registry._Lock );
    CTweakable* const* const ppFound = Registry._List.FindIf( [ & ]( const CTweakable* pTweakable ) {
        return NConsole::IsSameName( pTweakable->GetName(), Name );
    } );
    return ppFound != nullptr ? *ppFound : nullptr;
}

CZanArray<CTweakable*> NTweakable::GetAll()
{
    STweakableRegistry& Registry = STweakableRegistry::Access();
    const std::shared_lock Lock( Registry._Lock );
    return Registry._List;
}

void NTweakable::SetPreset( CZanStringView Name, CZanStringView Text )
{
    STweakableRegistry& Registry = STweakableRegistry::Access();
    const std::scoped_lock Lock( Registry._Lock );
    Registry._Presets.Set( NZanStringUtils::ToLower( Name ), CString( Text ) );
}
