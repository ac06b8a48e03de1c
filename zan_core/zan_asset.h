#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/holders/zan_any.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/views/zan_span.h"
#include "zan_core/zan_types.h"

#include <initializer_list>

class CFile;

/// Strings in one block. Views stay valid while neither field changes, and when the table moves.
struct SStringTable
{
    using CViews = CZanInlineBufArray<CZanStringView, 1>;

    SStringTable() = default;
    explicit SStringTable( CZanSpan<const CZanStringView> Strings );

    /// Takes over a block and the views into it.
    SStringTable( CZanArray<char>&& Chars, CViews&& Views );

    /// A copy looks into its own characters.
    SStringTable( const SStringTable& Other );
    SStringTable( SStringTable&& Other );
    SStringTable& operator=( const SStringTable& Other );
    SStringTable& operator=( SStringTable&& Other );
    ~SStringTable() = default;

    CZanArray<char> _Chars; // the strings in order, each with a zero byte behind it
    CViews _Views;          // one for each string, into _Chars and terminated

private:
    void Take( CZanArray<char>& Chars, CViews& Views );
};

/// Equal when the strings are.
bool operator==( const SStringTable& Left, const SStringTable& Right );

/// A name with floats, integers or strings.
struct SAssetProperty
{
    /// Without data, which a file keeps as no integers.
    explicit SAssetProperty( CZanStringView Name ) : _Name( Name ) {}

    SAssetProperty( CZanStringView Name, int32 Value );
    SAssetProperty( CZanStringView Name, float Value );
    SAssetProperty( CZanStringView Name, CZanStringView Value );
    SAssetProperty( CZanStringView Name, CZanSpan<const int32> Values );
    SAssetProperty( CZanStringView Name, CZanSpan<const float> Values );
    SAssetProperty( CZanStringView Name, CZanSpan<const CString> Values );
    SAssetProperty( CZanStringView Name, std::initializer_list<int32> Values );
    SAssetProperty( CZanStringView Name, std::initializer_list<float> Values );
    SAssetProperty( CZanStringView Name, std::initializer_list<CString> Values );

    /// Takes over a block of strings, each with a zero byte behind it, and the views into it.
    SAssetProperty( CZanStringView Name, CZanArray<char>&& Chars, SStringTable::CViews&& Views );

    // At most one of these holds, and none without values.

    bool HasFloatData() const { return !GetFloatData().IsEmpty(); }
    bool HasIntData() const { return !GetIntData().IsEmpty(); }
    bool HasStringData() const { return !GetStringData().IsEmpty(); }

    /// The values, one if there is a single one. Empty for data of another type.
    CZanSpan<const float> GetFloatData() const;
    CZanSpan<const int32> GetIntData() const;
    CZanSpan<const CZanStringView> GetStringData() const;

    CString _Name;

    /// A float, an int32, a CZanArray of either, an SStringTable, or nothing.
    CZanAny<sizeof( CZanArray<float> ), true> _Data;
};

/// A tree of named objects with properties, for what tools make. It is kept in files of two forms, a compact
/// one and one of text, as docs/asset-format.md tells, and reads either. Trees may be of any depth: nothing
/// here calls itself. Objects stay where they are while their parents live. Not synchronised.
///
///     CAssetObject Root;
///     CAssetObject& Tree = Root.AddObject( "tree" );
///     Tree.AccessProperties().AppendEmplace( "height", 7.5f );
///     Root.WriteToFile( File, false );
class CAssetObject
{
public:
    using CObjects = CZanInlineBufArray<CZanScopedPtr<CAssetObject>, 2>;

    CAssetObject() = default;
    explicit CAssetObject( CZanStringView Name ) : _Name( Name ) {}
    CAssetObject( const CAssetObject& ) = delete;
    CAssetObject& operator=( const CAssetObject& ) = delete;
    ~CAssetObject();

    const CString& GetName() const { return _Name; }
    const CZanArray<SAssetProperty>& GetProperties() const { return _Properties; }
    CZanArray<SAssetProperty>& AccessProperties() { return _Properties; }
    const CObjects& GetObjects() const { return _Objects; }

    /// Appends a child.
    CAssetObject& AddObject( CZanStringView Name );

    /// Writes a whole file, in which this object's own name does not stand. What its form cannot give back
    /// is logged, each with its name, and written nevertheless: in text such names as would read as something
    /// else, and zero bytes; in the binary form property names of more than 255 bytes, of which the low byte
    /// of their size says how many are kept, and object names that begin with '[' or hold a zero byte. What
    /// follows a zero byte that cannot be kept is left out. Text keeps six digits of a float.
    void WriteToFile( CFile& File, bool bBinary ) const;

    /// Adds what a file of either form holds, as though it were the end of a longer one: its first lines go
    /// to the last of the last children. What is broken is left out, and the rest is read, in text line by
    /// line; the binary form ends where a record is cut off, and where none starts, which is logged. So is a
    /// file without four bytes of a header. Memory is in proportion to the file.
    void ReadFromFile( CFile& File );

    /// Whether reading a file that is not of the binary form is logged, in the whole process. Any thread.
    static void SetTextLogged( bool bLogged );

private:
    CString _Name;
    CZanArray<SAssetProperty> _Properties;
    CObjects _Objects; // never null
};
