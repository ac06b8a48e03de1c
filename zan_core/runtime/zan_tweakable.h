#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/holders/zan_any.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/runtime/zan_console_command.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <boost/function/function_fwd.hpp>

#include <atomic>
#include <type_traits>
#include <utility>

/// A named handle to a variable that lives elsewhere, by which a console reads and sets it as text. Declare
/// one by a static object beside its variable:
///
///     static int32 GDelay = 100;
///     static CTweakableNumber<int32>& GDelayTweakable =
///         NTweakable::Declare( "Watcher.Delay", "Milliseconds between looks", GDelay, 0, 5000 );
///
/// Tweakables live as long as the process. The variable is read and written whole by any thread, where its
/// type is trivial; of threads that set it at once, or change the callbacks, the caller takes care.
class CTweakable
{
public:
    virtual ~CTweakable();

    /// Writes the value's text to Out and gives Out.
    virtual CString& GetValueText( CString& Out ) const = 0;
    virtual void SetValueText( const CString& Text ) = 0;

    /// What a console's line with this name does: sets the value by the first argument, if there is one, and
    /// tells the value.
    virtual SCommandResult Execute( const CZanArray<CString>& Args );

    const CString& GetName() const { return _Name; }
    const CString& GetDescription() const { return _Description; }

    /// This object by its concrete class, or null.
    template <typename TTweakable>
    TTweakable* As() const
    {
        TTweakable* const* const ppSelf = _Self.GetValue<TTweakable*>();
        return ppSelf != nullptr ? *ppSelf : nullptr;
    }

    /// Calls Function after each change of the value, in the order of addition, and gives an identifier that
    /// is unique in the process. To call it, include boost/function.hpp. A callback may add callbacks, which
    /// wait for the next change, and remove any, itself too. One that sets the value again has all
    /// callbacks called once more behind it, and sees the end of that only after it has returned. An empty
    /// Function throws when it is called.
    uint32 AddCallback( const boost::function<void( CTweakable* )>& Function );

    /// False when there is no such callback.
    bool RemoveCallback( uint32 Id );

protected:
    CTweakable( CZanStringView Name, CZanStringView Description, void* pValue );
    CTweakable( const CTweakable& ) = delete;
    CTweakable& operator=( const CTweakable& ) = delete;

    template <typename TTweakable>
    friend TTweakable& ZanDeclareTweakable( CZanScopedPtr<TTweakable> pNew );

    void CallCallbacks();
    void Redeclare( const CTweakable& New );

    void* _pValue; // the variable, not owned, or null

private:
    friend struct STweakableRegistry;
    struct SChangeCallback;

    CZanArray<SChangeCallback> _Callbacks;
    int32 _CallbackIndex = 0; // the entry that runs, and the end of those to call;
    int32 _CallbackEnd = 0;   // both are 0 while none runs
    CString _Name;
    CString _Description;
    CZanAny<sizeof( void* ), true> _Self; // a pointer to the concrete class: what it is to those who find it
};

/// The base of tweakables with a value of one type.
template <typename T>
class CTweakableTyped : public CTweakable
{
public:
    CString& GetValueText( CString& Out ) const override { return ValueToText( Out, GetValue() ); }
    void SetValueText( const CString& Text ) override { SetValue( TextToValue( Text ) ); }

    /// The variable, or T() when there is none.
    virtual T GetValue() const;

    /// Stores the value and calls the callbacks, if it differs.
    virtual void SetValue( const T& Value );

    /// Writes the text to Out and gives Out.
    virtual CString& ValueToText( CString& Out, const T& Value ) const = 0;
    virtual T TextToValue( const CString& Text ) const = 0;

protected:
    CTweakableTyped( CZanStringView Name, CZanStringView Description, T* pValue )
        : CTweakable( Name, Description, pValue )
    {}
};

template <typename T>
struct CTweakableMinMax
{
    T _Min;
    T _Max;
};

/// A number in a range. The library has int32, whose text is read as far as it is one and is 0 otherwise; for
/// another type specialise the two functions of the text.
template <typename T>
class CTweakableNumber final : public CTweakableTyped<T>, public CTweakableMinMax<T>
{
public:
    CTweakableNumber( CZanStringView Name, CZanStringView Description, T* pValue, T Min, T Max )
        : CTweakableTyped<T>( Name, Description, pValue ), CTweakableMinMax<T>{ Min, Max }
    {}

    /// Sets the nearest value in the range.
    void SetValue( const T& Value ) override
    {
        CTweakableTyped<T>::SetValue( Value < this->_Min   ? this->_Min
                                      : this->_Max < Value ? this->_Max
                                                           : Value );
    }
    CString& ValueToText( CString& Out, const T& Value ) const override;
    T TextToValue( const CString& Text ) const override;

    void Redeclare( const CTweakableNumber& New );
};

/// A switch. Its text is 0 or 1; "0", "false" and "no" are off in any case of the letters, and all else is
/// on.
class CTweakableBool final : public CTweakableTyped<bool>
{
public:
    CTweakableBool( CZanStringView Name, CZanStringView Description, bool* pValue )
        : CTweakableTyped( Name, Description, pValue )
    {}

    /// Without an argument inverts the value.
    SCommandResult Execute( const CZanArray<CString>& Args ) override;
    CString& ValueToText( CString& Out, const bool& bValue ) const override;
    bool TextToValue( const CString& Text ) const override;
};

/// Registers a new tweakable, with the preset of its name, and gives it. When one of that name and class is
/// there, it takes over name, description, variable and range, without preset and clamp, and is given
/// instead. Names differ by more than their case. Any thread; the text functions of the class run under the
/// lock of the registry, so that they may not use it.
template <typename TTweakable>
TTweakable& ZanDeclareTweakable( CZanScopedPtr<TTweakable> pNew );

// The process's tweakables. Any thread.
namespace NTweakable
{
CTweakableBool& Declare( CZanStringView Name, CZanStringView Description, bool& bVariable );
CTweakableNumber<int32>& Declare(
    CZanStringView Name, CZanStringView Description, int32& Variable, int32 Min, int32 Max );

/// The first of that name, whatever its case, or null.
CTweakable* Find( CZanStringView Name );

/// All, in order of declaration, as they are now.
CZanArray<CTweakable*> GetAll();

/// The text of the value that a tweakable of that name starts with when it is declared from now on.
void SetPreset( CZanStringView Name, CZanStringView Text );

namespace NDetail
{
using FRedeclare = void ( * )( CTweakable& Found, const CTweakable& New );

/// Gives what stands for the new one, and takes that over only if it is new.
CTweakable& Register( CZanScopedPtr<CTweakable> pNew, FRedeclare pRedeclare );
} // namespace NDetail
} // namespace NTweakable

// --- Bodies --------------------------------------------------------------------------------------------

template <typename T>
T CTweakableTyped<T>::GetValue() const
{
    T* const pVariable = static_cast<T*>( this->_pValue );
    if ( pVariable == nullptr )
    {
        return T();
    }
    if constexpr ( std::is_trivially_copyable_v<T> )
    {
        return std::atomic_ref<T>( *pVariable ).load( std::memory_order_relaxed );
    }
    else
    {
        return *pVariable;
    }
}

template <typename T>
void CTweakableTyped<T>::SetValue( const T& Value )
{
    T* const pVariable = static_cast<T*>( this->_pValue );
    if ( pVariable == nullptr || GetValue() == Value )
    {
        return;
    }
    if constexpr ( std::is_trivially_copyable_v<T> )
    {
        std::atomic_ref<T>( *pVariable ).store( Value, std::memory_order_relaxed );
    }
    else
    {
        *pVariable = Value;
    }
    this->CallCallbacks();
}

template <typename T>
void CTweakableNumber<T>::Redeclare( const CTweakableNumber& New )
{
    CTweakable::Redeclare( New );
    this->_Min = New._Min;
    this->_Max = New._Max;
}

template <typename TTweakable>
TTweakable& ZanDeclareTweakable( CZanScopedPtr<TTweakable> pNew )
{
    static_cast<CTweakable&>( *pNew )._Self = pNew.GetPtr();
    CTweakable& Registered =
        NTweakable::NDetail::Register( std::move( pNew ), []( CTweakable& Found, const CTweakable& New ) {
            static_cast<TTweakable&>( Found ).Redeclare( static_cast<const TTweakable&>( New ) );
        } );
    return static_cast<TTweakable&>( Registered );
}
