#include "zan_core/zan_asset.h"

#include "zan_core/persistence/zan_file.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/zan_assert.h"
#include "zan_core/zan_log.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

// The two forms share what a tree looks like in a file: its objects in preorder, each with its depth and
// behind it its own properties. A writer walks that order with a stack. A reader needs of the tree read so
// far the last object and those above it only, each of which is the last child of the one before.

namespace
{
constexpr CZanStringView BinaryHeader = "@@b@";
constexpr CZanStringView TextHeader = "@@t@";
constexpr uint64 MaxMissingCount = 65536; // values that the end of a text may cut off

std::atomic<bool> GTextLogged = false;

/// Of the values of a property, in both forms.
template <typename T>
constexpr char TypeLetter = 's';
template <>
constexpr char TypeLetter<float> = 'f';
template <>
constexpr char TypeLetter<int32> = 'i';

/// In either direction between values of four bytes and their bytes, lowest first.
void CopyLittleEndian( void* pTo, const void* pFrom, uint64 ByteCount )
{
    if ( ByteCount > 0 ) // without bytes the pointers may be null
    {
        std::memcpy( pTo, pFrom, ByteCount );
    }
    if constexpr ( std::endian::native == std::endian::big )
    {
        for ( uint8* pBytes = static_cast<uint8*>( pTo ); ByteCount > 0; ByteCount -= 4, pBytes += 4 )
        {
            std::reverse( pBytes, pBytes + 4 );
        }
    }
}

using CData = decltype( SAssetProperty::_Data );

/// None for data of another type.
template <typename T>
inline CZanSpan<const T> GetNumbers( const CData& Data )
{
    if ( const T* const pNumber = Data.GetValue<T>() )
    {
        return CZanSpan<const T>( pNumber, 1 );
    }
    const CZanArray<T>* const pNumbers = Data.GetValue<CZanArray<T>>();
    return pNumbers != nullptr ? CZanSpan<const T>( *pNumbers ) : CZanSpan<const T>();
}

inline CZanSpan<const CZanStringView> GetStrings( const CData& Data )
{
    const SStringTable* const pTable = Data.GetValue<SStringTable>();
    return pTable != nullptr ? CZanSpan<const CZanStringView>( pTable->_Views )
                             : CZanSpan<const CZanStringView>();
}

void Report( const char* pProblem, CZanStringView Name )
{
    ZanLog( { __FILE__, __LINE__, LogCategoryError }, "%s: %.*s", pProblem, Name.GetSize(), Name.GetData() );
}

/// What stands in the runs of a text: neither blanks nor control characters, nor bytes beyond ASCII.
bool IsVisible( char Char ) { return Char > 32 && Char < 127; }

// --- Writing -----------------------------------------------------------------------------------------------

CZanStringView UpToZero( CZanStringView Text )
{
    const int32 Zero = Text.Find( '\0' );
    return Zero < 0 ? Text : Text.GetSubstring( 0, Zero );
}

/// Gathers what goes to a file.
class COutput
{
public:
    explicit COutput( CFile& File ) : _File( File ) {}

    void Flush();

protected:
    void Put( const char* pData, uint64 Size );
    void Put( CZanStringView Text ) { Put( Text.GetData(), static_cast<uint64>( Text.GetSize() ) ); }
    void Put( char Char ) { *MakeRoom( 1 ) = Char, ++_Size; }
    void Put( char Char, int32 Count );

    static constexpr int32 Capacity = 16384;

    /// For at most Capacity bytes, the first of which is given. MoveTo then says where they end.
    char* MakeRoom( int32 Size );
    void MoveTo( const char* pEnd ) { _Size = static_cast<int32>( pEnd - _Chars ); }

private:
    void PutSlowly( const char* pData, uint64 Size );

    CFile& _File;
    int32 _Size = 0;
    char _Chars[ Capacity ];
};

void COutput::Flush()
{
    _File.Write( _Chars, static_cast<uint32>( _Size ) );
    _Size = 0;
}

inline char* COutput::MakeRoom( int32 Size )
{
    if ( Size > Capacity - _Size )
    {
        Flush();
    }
    return _Chars + _Size;
}

inline void COutput::Put( const char* pData, uint64 Size )
{
    if ( Size > static_cast<uint64>( Capacity - _Size ) )
    {
        PutSlowly( pData, Size );
        return;
    }
    std::copy_n( pData, Size, _Chars + _Size );
    _Size += static_cast<int32>( Size );
}

void COutput::PutSlowly( const char* pData, uint64 Size )
{
    Flush();
    if ( Size <= Capacity )
    {
        Put( pData, Size );
        return;
    }
    constexpr uint64 MaxPiece = uint64( 1 ) << 30; // a size of a write has 32 bits
    for ( uint64 Piece; Size > 0; Size -= Piece )
    {
        Piece = std::min( Size, MaxPiece );
        _File.Write( pData, static_cast<uint32>( Piece ) );
        pData += Piece;
    }
}

void COutput::Put( char Char, int32 Count )
{
    for ( int32 i = 0; i < Count; ++i )
    {
        Put( Char );
    }
}

/// Gives the end.
inline char* PutText( char* pTo, CZanStringView Text )
{
    return std::copy_n( Text.GetData(), Text.GetSize(), pTo );
}

inline char* PutUint32( char* pTo, uint32 Value )
{
    CopyLittleEndian( pTo, &Value, sizeof( Value ) );
    return pTo + sizeof( Value );
}

class CBinaryOutput : public COutput
{
public:
    explicit CBinaryOutput( CFile& File ) : COutput( File ) { Put( BinaryHeader ); }

    void PutObjectName( CZanStringView Name, int32 Depth );

    /// Begins a property. The values follow.
    void PutHead( CZanStringView Name, int32 Depth, char Type, int32 Count );
    template <typename T>
    void PutNumbers( CZanSpan<const T> Numbers );
    void PutStrings( CZanSpan<const CZanStringView> Strings );
};

void CBinaryOutput::PutObjectName( CZanStringView Name, int32 Depth )
{
    const CZanStringView Kept = UpToZero( Name );
    if ( Kept.GetSize() < Name.GetSize() || ( !Name.IsEmpty() && Name[ 0 ] == '[' ) )
    {
        Report( "A binary asset cannot give back the object name", Name );
    }
    Put( '[', Depth );
    Put( Kept );
    Put( '\0' );
}

inline void CBinaryOutput::PutHead( CZanStringView Name, int32, char Type, int32 Count )
{
    const uint8 Size = static_cast<uint8>( Name.GetSize() );
    if ( Size != Name.GetSize() )
    {
        Report( "A binary asset cannot give back the property name", Name );
    }
    char* pTo = MakeRoom( std::numeric_limits<uint8>::max() + 7 );
    *pTo++ = '!';
    *pTo++ = static_cast<char>( Size );
    pTo = PutText( pTo, Name.GetSubstring( 0, Size ) );
    *pTo++ = Type;
    MoveTo( PutUint32( pTo, static_cast<uint32>( Count ) ) );
}

template <typename T>
inline void CBinaryOutput::PutNumbers( CZanSpan<const T> Numbers )
{
    if constexpr ( std::endian::native == std::endian::little )
    {
        Put( reinterpret_cast<const char*>( Numbers.GetData() ), Numbers.GetByteSize() );
    }
    else
    {
        for ( const T Number : Numbers )
        {
            MoveTo( PutUint32( MakeRoom( sizeof( T ) ), std::bit_cast<uint32>( Number ) ) );
        }
    }
}

void CBinaryOutput::PutStrings( CZanSpan<const CZanStringView> Strings )
{
    for ( const CZanStringView String : Strings )
    {
        MoveTo( PutUint32( MakeRoom( sizeof( uint32 ) ), static_cast<uint32>( String.GetSize() ) + 1 ) );
        Put( String );
        Put( '\0' );
    }
}

class CTextOutput : public COutput
{
public:
    explicit CTextOutput( CFile& File ) : COutput( File ) { Put( TextHeader ); }

    void PutObjectName( CZanStringView Name, int32 Depth );

    /// Begins a property. The values follow.
    void PutHead( CZanStringView Name, int32 Depth, char Type, int32 Count );
    template <typename T>
    void PutNumbers( CZanSpan<const T> Numbers );
    void PutStrings( CZanSpan<const CZanStringView> Strings );

private:
    template <typename T>
    void PutNumber( T Number );
    void PutEscaped( CZanStringView String );
};

void CTextOutput::PutObjectName( CZanStringView Name, int32 Depth )
{
    if ( Name.FindFirst( CZanStringView( "]\n\0", 3 ) ) >= 0 || ( !Name.IsEmpty() && Name[ 0 ] == '[' ) )
    {
        Report( "A text asset cannot give back the object name", Name );
    }
    Put( '\t', Depth - 1 );
    Put( '[', Depth );
    Put( UpToZero( Name ) );
    Put( ']', Depth );
    Put( '\n' );
}

void CTextOutput::PutHead( CZanStringView Name, int32 Depth, char Type, int32 Count )
{
    if ( Name.FindFirst( CZanStringView( " \n\0", 3 ) ) >= 0 || Name.IsEmpty() || !IsVisible( Name[ 0 ] ) ||
         Name[ 0 ] == '#' || Name[ 0 ] == '[' )
    {
        Report( "A text asset cannot give back the property name", Name );
    }
    Put( '\t', Depth );
    Put( UpToZero( Name ) );
    Put( ' ' );
    Put( Type );
    Put( ' ' );
    PutNumber( Count );
}

template <typename T>
void CTextOutput::PutNumbers( CZanSpan<const T> Numbers )
{
    for ( const T Number : Numbers )
    {
        Put( ' ' );
        PutNumber( Number );
    }
    Put( '\n' );
}

void CTextOutput::PutStrings( CZanSpan<const CZanStringView> Strings )
{
    for ( const CZanStringView String : Strings )
    {
        if ( String.Find( '\0' ) >= 0 )
        {
            Report( "A text asset cannot give back the zero byte of the string", String );
        }
        Put( " \"" );
        PutEscaped( UpToZero( String ) );
        Put( '"' );
    }
    Put( '\n' );
}

/// Without the locale, of which a C library's print functions take the decimal point.
template <typename T>
void CTextOutput::PutNumber( T Number )
{
    constexpr int32 MaxSize = 64;
    char* const pFirst = MakeRoom( MaxSize );
    if constexpr ( std::is_same_v<T, float> )
    {
        MoveTo(
            std::to_chars( pFirst, pFirst + MaxSize, double( Number ), std::chars_format::general, 6 ).ptr );
    }
    else
    {
        MoveTo( NZanStringUtils::to_chars( pFirst, pFirst + MaxSize, Number ).ptr );
    }
}

void CTextOutput::PutEscaped( CZanStringView String )
{
    for ( const char Char : String )
    {
        if ( Char == '\\' || Char == '"' || Char == '\n' )
        {
            Put( '\\' );
        }
        Put( Char == '\n' ? 'n' : Char );
    }
}

template <typename TOutput>
void PutProperties( TOutput& Output, const CAssetObject& Object, int32 Depth )
{
    for ( const SAssetProperty& Property : Object.GetProperties() )
    {
        const CZanSpan<const float> Floats = GetNumbers<float>( Property._Data );
        const CZanSpan<const CZanStringView> Strings = GetStrings( Property._Data );
        if ( !Floats.IsEmpty() )
        {
            Output.PutHead( Property._Name, Depth, TypeLetter<float>, Floats.GetSize() );
            Output.PutNumbers( Floats );
        }
        else if ( !Strings.IsEmpty() )
        {
            Output.PutHead( Property._Name, Depth, TypeLetter<CZanStringView>, Strings.GetSize() );
            Output.PutStrings( Strings );
        }
        else
        {
            const CZanSpan<const int32> Ints = GetNumbers<int32>( Property._Data );
            Output.PutHead( Property._Name, Depth, TypeLetter<int32>, Ints.GetSize() );
            Output.PutNumbers( Ints );
        }
    }
}

template <typename TOutput>
void WriteTree( const CAssetObject& Root, CFile& File )
{
    struct SStep
    {
        const CAssetObject* pObject;
        int32 ChildIndex; // of the next one to write
    };

    TOutput Output( File );
    PutProperties( Output, Root, 0 );
    CZanArray<SStep> Path;
    Path.Append( { &Root, 0 } );
    while ( !Path.IsEmpty() )
    {
        SStep& Step = Path.GetTailData();
        if ( Step.ChildIndex == Step.pObject->GetObjects().GetSize() )
        {
            Path.RemoveTail();
            continue;
        }
        const CAssetObject& Child = *Step.pObject->GetObjects()[ Step.ChildIndex++ ];
        Output.PutObjectName( Child.GetName(), Path.GetSize() );
        PutProperties( Output, Child, Path.GetSize() );
        Path.Append( { &Child, 0 } );
    }
    Output.Flush();
}

// --- Reading -----------------------------------------------------------------------------------------------

/// The object that reads, the last of its children, the last of that one's children, and so on.
class CLastObjects
{
public:
    explicit CLastObjects( CAssetObject& Root );

    CAssetObject& GetLast() { return *_Path.GetTailData(); }

    /// Nothing when there is no object at the depth above.
    void AddObject( int32 Depth, CZanStringView Name );

    /// To the last object, without data.
    SAssetProperty& AddProperty( CZanStringView Name )
    {
        CZanArray<SAssetProperty>& Properties = GetLast().AccessProperties();
        Properties.Reserve( 4 ); // most objects have some, and moving them is dear
        return Properties.AppendEmplace( Name );
    }

private:
    CZanArray<CAssetObject*> _Path; // never empty
};

CLastObjects::CLastObjects( CAssetObject& Root )
{
    _Path.Append( &Root );
    while ( !GetLast().GetObjects().IsEmpty() )
    {
        _Path.Append( GetLast().GetObjects().GetTailData().GetPtr() );
    }
}

void CLastObjects::AddObject( int32 Depth, CZanStringView Name )
{
    if ( Depth <= _Path.GetSize() )
    {
        _Path.SetSize( Depth );
        _Path.Append( &GetLast().AddObject( Name ) );
    }
}

int32 CountLeadingBrackets( CZanStringView Text )
{
    int32 Count = 0;
    while ( Count < Text.GetSize() && Text[ Count ] == '[' )
    {
        ++Count;
    }
    return Count;
}

uint32 ReadUint32( const char* pBytes )
{
    uint32 Value;
    CopyLittleEndian( &Value, pBytes, sizeof( Value ) );
    return Value;
}

/// Where the parts of a property lie in the binary form. All that it says of them is checked against what is
/// there, so that they are read without further checks.
struct SPropertyRecord
{
    enum EState
    {
        CutOff,
        Unknown, // of a type that there is not
        Whole
    };

    /// At the start of Bytes, which is a '!'.
    explicit SPropertyRecord( CZanStringView Bytes );

    CZanStringView _Name;
    CZanStringView _Values;
    int32 _Count = 0;
    int32 _CharCount = 0; // of all strings, with a zero byte for each
    char _Type = 0;
    EState _State = CutOff;

private:
    void FindStrings( const char* pFirst, const char* pLast );
};

inline SPropertyRecord::SPropertyRecord( CZanStringView Bytes )
{
    constexpr int32 CountSize = sizeof( uint32 );
    const int32 NameEnd = Bytes.GetSize() < 2 ? 2 : static_cast<uint8>( Bytes[ 1 ] ) + 2;
    if ( NameEnd >= Bytes.GetSize() )
    {
        return;
    }
    _Name = Bytes.GetSubstring( 2, NameEnd );
    _Type = Bytes[ NameEnd ];
    if ( _Type != TypeLetter<float> && _Type != TypeLetter<int32> && _Type != TypeLetter<CZanStringView> )
    {
        _State = Unknown;
        return;
    }
    const int32 Rest = Bytes.GetSize() - NameEnd - 1 - CountSize;
    if ( Rest < 0 )
    {
        return;
    }
    const char* const pValues = Bytes.GetIterEnd() - Rest;
    const uint32 Count = ReadUint32( pValues - CountSize );
    if ( Count > static_cast<uint32>( Rest ) / sizeof( uint32 ) ) // which each value has at least
    {
        return;
    }
    _Count = static_cast<int32>( Count );
    if ( _Type == TypeLetter<CZanStringView> )
    {
        FindStrings( pValues, pValues + Rest );
        return;
    }
    _Values = CZanStringView( pValues, _Count * int32( sizeof( uint32 ) ) );
    _State = Whole;
}

void SPropertyRecord::FindStrings( const char* pFirst, const char* pLast )
{
    const char* pString = pFirst;
    for ( int32 i = 0; i < _Count; ++i )
    {
        if ( pLast - pString < int32( sizeof( uint32 ) ) )
        {
            return;
        }
        const uint32 Size = ReadUint32( pString ); // with the zero byte
        pString += sizeof( uint32 );
        if ( pLast - pString < int64( Size ) )
        {
            return;
        }
        pString += Size;
        _CharCount += static_cast<int32>( std::max( Size, 1u ) );
    }
    _Values = CZanStringView( pFirst, static_cast<int32>( pString - pFirst ) );
    _State = Whole;
}

template <typename T>
void ReadNumbers( const SPropertyRecord& Record, CData& Data )
{
    if ( Record._Count == 1 )
    {
        T Number;
        CopyLittleEndian( &Number, Record._Values.GetData(), sizeof( T ) );
        Data = Number;
        return;
    }
    CZanArray<T> Numbers;
    Numbers.SetSizeNoInit( Record._Count );
    CopyLittleEndian(
        Numbers.GetData(), Record._Values.GetData(), static_cast<uint64>( Record._Values.GetSize() ) );
    Data = std::move( Numbers );
}

void ReadStrings( const SPropertyRecord& Record, CData& Data )
{
    Data = SStringTable();
    SStringTable& Table = *Data.AccessValue<SStringTable>(); // filled in place, where moving it is dear
    Table._Chars.SetSizeNoInit( Record._CharCount );
    Table._Views.Reserve( Record._Count );
    const char* pFrom = Record._Values.GetData();
    char* pTo = Table._Chars.GetData();
    for ( int32 i = 0; i < Record._Count; ++i )
    {
        const int32 Size = static_cast<int32>( ReadUint32( pFrom ) );
        const CZanStringView String( pFrom + sizeof( uint32 ), std::max( Size, 1 ) - 1 );
        Table._Views.Append( CZanStringView::FromNullTerminated( pTo, String.GetSize() ) );
        pTo = PutText( pTo, String );
        *pTo++ = '\0';
        pFrom += sizeof( uint32 ) + static_cast<size_t>( Size );
    }
}

class CBinaryReader
{
public:
    CBinaryReader( CAssetObject& Root, CZanStringView Bytes ) : _Rest( Bytes ), _Objects( Root ) {}

    /// False where no record starts.
    bool Read();

private:
    // A record that the end cuts off is not added, and nothing is left to read.

    void ReadObject();
    void ReadProperties();

    CZanStringView _Rest;
    CLastObjects _Objects;
    CZanArray<SPropertyRecord> _Records; // kept for its memory
};

bool CBinaryReader::Read()
{
    while ( !_Rest.IsEmpty() )
    {
        if ( _Rest[ 0 ] == '[' )
        {
            ReadObject();
        }
        else if ( _Rest[ 0 ] == '!' )
        {
            ReadProperties();
        }
        else
        {
            return false;
        }
    }
    return true;
}

void CBinaryReader::ReadObject()
{
    const int32 Depth = CountLeadingBrackets( _Rest );
    _Rest.RemovePrefix( Depth );
    const int32 NameSize = _Rest.Find( '\0' );
    if ( NameSize >= 0 )
    {
        _Objects.AddObject( Depth, _Rest.GetSubstring( 0, NameSize ) );
    }
    _Rest.RemovePrefix( NameSize >= 0 ? NameSize + 1 : _Rest.GetSize() );
}

/// Up to the next record of another kind: their object makes room for all of them at once.
void CBinaryReader::ReadProperties()
{
    _Records.RemoveAll();
    while ( !_Rest.IsEmpty() && _Rest[ 0 ] == '!' )
    {
        const SPropertyRecord& Record = _Records.AppendEmplace( _Rest );
        if ( Record._State == SPropertyRecord::Whole )
        {
            _Rest.RemovePrefix( static_cast<int32>( Record._Values.GetIterEnd() - _Rest.GetData() ) );
            continue;
        }
        // One of an unknown type goes on at the byte of the size.
        _Rest.RemovePrefix( Record._State == SPropertyRecord::Unknown ? 1 : _Rest.GetSize() );
        _Records.RemoveTail();
    }

    CZanArray<SAssetProperty>& Properties = _Objects.GetLast().AccessProperties();
    if ( Properties.IsEmpty() )
    {
        Properties.Reserve( _Records.GetSize() );
    }
    for ( const SPropertyRecord& Record : _Records )
    {
        CData& Data = Properties.AppendEmplace( Record._Name )._Data;
        if ( Record._Type == TypeLetter<float> )
        {
            ReadNumbers<float>( Record, Data );
        }
        else if ( Record._Type == TypeLetter<int32> )
        {
            ReadNumbers<int32>( Record, Data );
        }
        else
        {
            ReadStrings( Record, Data );
        }
    }
}

// What a text is made of: runs of visible characters, and all between them, line feeds included.

/// The position of the first character for which bVisible is or is not so, or the size.
int32 FindVisible( CZanStringView Text, bool bVisible )
{
    int32 Position = 0;
    while ( Position < Text.GetSize() && IsVisible( Text[ Position ] ) != bVisible )
    {
        ++Position;
    }
    return Position;
}

/// Moves to the start of the next run, from within one to the one behind it.
void SkipGap( CZanStringView& Text ) { Text.RemovePrefix( FindVisible( Text, true ) ); }
void SkipRun( CZanStringView& Text )
{
    Text.RemovePrefix( FindVisible( Text, false ) );
    SkipGap( Text );
}

const char* SkipDigits( const char* pFirst, const char* pLast )
{
    return std::find_if( pFirst, pLast, []( char Char ) { return Char < '0' || Char > '9'; } );
}

/// The end of the number at the start of a text, of the form that JSON gives numbers, or null: a sign without
/// digits, more digits behind a leading zero, and a point or an exponent without digits are not of that form.
const char* FindFloatEnd( const char* pFirst, const char* pLast )
{
    pFirst += pFirst != pLast && *pFirst == '-';
    const char* pEnd = SkipDigits( pFirst, pLast );
    if ( pEnd == pFirst || ( *pFirst == '0' && pEnd - pFirst > 1 ) )
    {
        return nullptr;
    }
    if ( pEnd != pLast && *pEnd == '.' )
    {
        const char* const pDecimals = pEnd + 1;
        pEnd = SkipDigits( pDecimals, pLast );
        if ( pEnd == pDecimals )
        {
            return nullptr;
        }
    }
    if ( pEnd != pLast && ( *pEnd == 'e' || *pEnd == 'E' ) )
    {
        ++pEnd;
        pEnd += pEnd != pLast && ( *pEnd == '-' || *pEnd == '+' );
        const char* const pDigits = pEnd;
        pEnd = SkipDigits( pDigits, pLast );
        if ( pEnd == pDigits )
        {
            return nullptr;
        }
    }
    return pEnd;
}

/// The number at the start of the text, 0 when there is none or one that does not fit.
template <typename T>
T ReadNumber( CZanStringView Text )
{
    T Number = 0;
    NZanStringUtils::from_chars( Text.GetIterStart(), Text.GetIterEnd(), Number );
    return Number;
}

/// By way of a double, as ever.
template <>
float ReadNumber<float>( CZanStringView Text )
{
    double Number = 0;
    if ( const char* const pEnd = FindFloatEnd( Text.GetIterStart(), Text.GetIterEnd() ) )
    {
        std::from_chars( Text.GetIterStart(), pEnd, Number );
    }
    return static_cast<float>( Number );
}

class CTextReader
{
public:
    CTextReader( CAssetObject& Root, CZanStringView Text ) : _Rest( UpToZero( Text ) ), _Objects( Root ) {}

    void Read();

private:
    void ReadObject( CZanStringView Line );
    void ReadProperty( CZanStringView Line );

    // The values of a property start at Values and may reach beyond its line. They leave Values behind what
    // they use.

    template <typename T>
    void ReadNumbers( CZanStringView Name, uint64 Count, CZanStringView& Values );
    void ReadStrings( CZanStringView Name, uint64 Count, CZanStringView Line );

    CZanStringView _Rest; // behind the line that is being read
    CLastObjects _Objects;
};

void CTextReader::Read()
{
    for ( SkipGap( _Rest ); !_Rest.IsEmpty(); SkipGap( _Rest ) )
    {
        const int32 LineFeed = _Rest.Find( '\n' );
        const CZanStringView Line = _Rest.GetSubstring( 0, LineFeed < 0 ? _Rest.GetSize() : LineFeed );
        _Rest.RemovePrefix( Line.GetSize() );
        if ( Line[ 0 ] == '[' )
        {
            ReadObject( Line );
        }
        else if ( Line[ 0 ] != '#' )
        {
            ReadProperty( Line );
        }
    }
}

void CTextReader::ReadObject( CZanStringView Line )
{
    const int32 Depth = CountLeadingBrackets( Line );
    Line.RemovePrefix( Depth );
    const int32 NameSize = Line.Find( ']' );
    if ( NameSize >= 0 )
    {
        _Objects.AddObject( Depth, Line.GetSubstring( 0, NameSize ) );
    }
}

void CTextReader::ReadProperty( CZanStringView Line )
{
    const int32 NameSize = Line.Find( ' ' );
    if ( NameSize < 0 || NameSize + 1 == Line.GetSize() )
    {
        return;
    }
    const CZanStringView Name = Line.GetSubstring( 0, NameSize );
    const char Type = Line[ NameSize + 1 ];
    const char* const pValues = Line.GetData() + NameSize + 2;
    CZanStringView Values( pValues, static_cast<int32>( _Rest.GetIterEnd() - pValues ) );
    SkipGap( Values );
    uint64 Count = 0;
    if ( NZanStringUtils::from_chars( Values.GetIterStart(), Values.GetIterEnd(), Count ).ec ==
         std::errc::result_out_of_range )
    {
        Count = std::numeric_limits<uint64>::max();
    }
    SkipRun( Values );
    if ( Type == TypeLetter<float> )
    {
        ReadNumbers<float>( Name, Count, Values );
    }
    else if ( Type == TypeLetter<int32> )
    {
        ReadNumbers<int32>( Name, Count, Values );
    }
    else if ( Type == TypeLetter<CZanStringView> )
    {
        const int32 Size = std::max( Values.GetSize() - _Rest.GetSize(), 0 ); // of what is left of the line
        ReadStrings( Name, Count, Values.GetSubstring( 0, Size ) );
    }
    else
    {
        return;
    }
    if ( Values.GetSize() < _Rest.GetSize() )
    {
        _Rest = Values;
    }
}

template <typename T>
void CTextReader::ReadNumbers( CZanStringView Name, uint64 Count, CZanStringView& Values )
{
    CZanArray<T> Numbers;
    for ( ; Count > 0 && !Values.IsEmpty(); --Count )
    {
        Numbers.Append( ReadNumber<T>( Values ) );
        SkipRun( Values );
    }
    if ( Count <= MaxMissingCount )
    {
        Numbers.IncreaseSize( static_cast<int32>( Count ) );
        auto& Data = _Objects.AddProperty( Name )._Data;
        if ( Numbers.GetSize() == 1 )
        {
            Data = Numbers[ 0 ];
        }
        else
        {
            Data = std::move( Numbers );
        }
    }
}

/// Appends the string between the next two quotes of the line, and a zero byte, and moves behind it. False
/// when there is none.
bool ReadString( CZanStringView& Line, CZanArray<char>& Chars )
{
    const int32 Quote = Line.Find( '"' );
    for ( int32 i = Quote + 1; Quote >= 0 && i < Line.GetSize(); ++i )
    {
        char Char = Line[ i ];
        if ( Char == '"' )
        {
            Chars.Append( '\0' );
            Line.RemovePrefix( i + 1 );
            return true;
        }
        if ( Char == '\\' )
        {
            if ( ++i == Line.GetSize() )
            {
                break;
            }
            Char = Line[ i ] == 'n' ? '\n' : Line[ i ];
            zan_assert_text( Char == '\n' || Char == '"' || Char == '\\',
                "Unrecognized escape sequence in asset text property." );
        }
        Chars.Append( Char );
    }
    return false;
}

void CTextReader::ReadStrings( CZanStringView Name, uint64 Count, CZanStringView Line )
{
    CZanArray<char> Chars;
    for ( uint64 i = 0; i < Count; ++i )
    {
        if ( !ReadString( Line, Chars ) )
        {
            zan_assert_text( false, "Error during parsing" );
            return;
        }
    }
    SStringTable::CViews Views;
    const char* pString = Chars.GetData();
    for ( uint64 i = 0; i < Count; ++i ) // no string holds a zero byte: the text would have ended there
    {
        pString += Views.Append( CZanStringView( pString ) ).GetSize() + 1;
    }
    _Objects.AddProperty( Name )._Data = SStringTable( std::move( Chars ), std::move( Views ) );
}

template <typename T>
CZanSpan<const T> AsSpan( std::initializer_list<T> Values )
{
    return CZanSpan<const T>( Values.begin(), static_cast<int32>( Values.size() ) );
}
} // namespace

// --- SStringTable ------------------------------------------------------------------------------------------

SStringTable::SStringTable( CZanSpan<const CZanStringView> Strings )
{
    int32 Size = 0;
    for ( const CZanStringView String : Strings )
    {
        Size += String.GetSize() + 1;
    }
    _Chars.SetSizeNoInit( Size );
    _Views.Reserve( Strings.GetSize() );
    char* pChar = _Chars.GetData();
    for ( const CZanStringView String : Strings )
    {
        _Views.Append( CZanStringView::FromNullTerminated( pChar, String.GetSize() ) );
        pChar = std::copy( String.GetIterStart(), String.GetIterEnd(), pChar );
        *pChar++ = '\0';
    }
}

SStringTable::SStringTable( CZanArray<char>&& Chars, CViews&& Views ) { Take( Chars, Views ); }

SStringTable::SStringTable( const SStringTable& Other ) : SStringTable( Other._Views ) {}

SStringTable::SStringTable( SStringTable&& Other ) { Take( Other._Chars, Other._Views ); }

SStringTable& SStringTable::operator=( const SStringTable& Other )
{
    return *this = SStringTable( Other ); // the copy comes first: it may not fit into memory
}

SStringTable& SStringTable::operator=( SStringTable&& Other )
{
    if ( this != &Other )
    {
        Take( Other._Chars, Other._Views );
    }
    return *this;
}

/// Between allocators the characters move elsewhere, and the views have to follow.
void SStringTable::Take( CZanArray<char>& Chars, CViews& Views )
{
    const std::uintptr_t Former = reinterpret_cast<std::uintptr_t>( Chars.GetData() );
    _Chars = std::move( Chars );
    _Views = std::move( Views );
    if ( reinterpret_cast<std::uintptr_t>( _Chars.GetData() ) != Former )
    {
        for ( CZanStringView& View : _Views )
        {
            const std::uintptr_t Offset = reinterpret_cast<std::uintptr_t>( View.GetData() ) - Former;
            View = CZanStringView::FromNullTerminated( _Chars.GetData() + Offset, View.GetSize() );
        }
    }
}

bool operator==( const SStringTable& Left, const SStringTable& Right ) { return Left._Views == Right._Views; }

// --- SAssetProperty ----------------------------------------------------------------------------------------

SAssetProperty::SAssetProperty( CZanStringView Name, int32 Value ) : _Name( Name ), _Data( Value ) {}

SAssetProperty::SAssetProperty( CZanStringView Name, float Value ) : _Name( Name ), _Data( Value ) {}

SAssetProperty::SAssetProperty( CZanStringView Name, CZanStringView Value )
    : _Name( Name ), _Data( SStringTable( CZanSpan<const CZanStringView>( &Value, 1 ) ) )
{}

SAssetProperty::SAssetProperty( CZanStringView Name, CZanSpan<const int32> Values )
    : _Name( Name ), _Data( CZanArray<int32>( Values.GetData(), Values.GetSize() ) )
{}

SAssetProperty::SAssetProperty( CZanStringView Name, CZanSpan<const float> Values )
    : _Name( Name ), _Data( CZanArray<float>( Values.GetData(), Values.GetSize() ) )
{}

SAssetProperty::SAssetProperty( CZanStringView Name, CZanSpan<const CString> Values ) : _Name( Name )
{
    CZanArray<CZanStringView> Views;
    for ( const CString& Value : Values )
    {
        Views.Append( Value );
    }
    _Data = SStringTable( Views );
}

SAssetProperty::SAssetProperty( CZanStringView Name, std::initializer_list<int32> Values )
    : SAssetProperty( Name, AsSpan( Values ) )
{}

SAssetProperty::SAssetProperty( CZanStringView Name, std::initializer_list<float> Values )
    : SAssetProperty( Name, AsSpan( Values ) )
{}

SAssetProperty::SAssetProperty( CZanStringView Name, std::initializer_list<CString> Values )
    : SAssetProperty( Name, AsSpan( Values ) )
{}

SAssetProperty::SAssetProperty( CZanStringView Name, CZanArray<char>&& Chars, SStringTable::CViews&& Views )
    : _Name( Name ), _Data( SStringTable( std::move( Chars ), std::move( Views ) ) )
{}

CZanSpan<const float> SAssetProperty::GetFloatData() const { return GetNumbers<float>( _Data ); }

CZanSpan<const int32> SAssetProperty::GetIntData() const { return GetNumbers<int32>( _Data ); }

CZanSpan<const CZanStringView> SAssetProperty::GetStringData() const { return GetStrings( _Data ); }

// --- CAssetObject ------------------------------------------------------------------------------------------

// A destructor for each level would run out of stack, and a list of what is left to delete takes memory. So
// the way down is kept in the tree: on the way into a last child, its place in the parent holds the parent's
// parent.
CAssetObject::~CAssetObject()
{
    CAssetObject* pParent = nullptr;
    CAssetObject* pObject = this;
    while ( pObject != this || !_Objects.IsEmpty() )
    {
        if ( !pObject->_Objects.IsEmpty() )
        {
            CZanScopedPtr<CAssetObject>& Last = pObject->_Objects.GetTailData();
            CAssetObject* const pChild = Last.Release();
            Last.Reset( pParent );
            pParent = pObject;
            pObject = pChild;
        }
        else
        {
            delete pObject;
            pObject = pParent;
            pParent = pObject->_Objects.GetTailData().Release();
            pObject->_Objects.RemoveTail();
        }
    }
}

CAssetObject& CAssetObject::AddObject( CZanStringView Name )
{
    return *_Objects.Append( ZanMakeScopedPtr<CAssetObject>( Name ) );
}

void CAssetObject::WriteToFile( CFile& File, bool bBinary ) const
{
    if ( bBinary )
    {
        WriteTree<CBinaryOutput>( *this, File );
    }
    else
    {
        WriteTree<CTextOutput>( *this, File );
    }
}

void CAssetObject::ReadFromFile( CFile& File )
{
    CZanArray<uint8> Copy;
    const uint8* pData = nullptr;
    int32 Size = File.GetSize();
    if ( CMemoryFile* const pMemoryFile = dynamic_cast<CMemoryFile*>( &File ) )
    {
        pData = pMemoryFile->GetData();
        pMemoryFile->SeekEnd();
    }
    else
    {
        File.ReadAll( Copy );
        pData = Copy.GetData();
        Size = Copy.GetSize();
    }
    const char* const pFileName = File.GetName().GetCharPtr();
    const int32 HeaderSize = BinaryHeader.GetSize();
    if ( Size < HeaderSize )
    {
        ZanLog( { __FILE__, __LINE__, LogCategoryError }, "Asset does not have a complete header: %s",
            pFileName );
        return;
    }
    CZanStringView Rest( reinterpret_cast<const char*>( pData ), Size );
    const bool bBinary = Rest.GetSubstring( 0, HeaderSize ) == BinaryHeader;
    Rest.RemovePrefix( HeaderSize );
    if ( !bBinary )
    {
        if ( GTextLogged.load( std::memory_order_relaxed ) )
        {
            ZanLog( { __FILE__, __LINE__, LogCategoryError }, "Asset not saved as BINARY: %s", pFileName );
        }
        CTextReader( *this, Rest ).Read();
    }
    else if ( !CBinaryReader( *this, Rest ).Read() )
    {
        ZanLog( { __FILE__, __LINE__, LogCategoryError }, "Asset has a byte that starts no record: %s",
            pFileName );
    }
}

void CAssetObject::SetTextLogged( bool bLogged ) { GTextLogged.store( bLogged, std::memory_order_relaxed ); }
