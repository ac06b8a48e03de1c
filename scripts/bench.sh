#!/usr/bin/env bash
# Measures the library against its peers: scripts/bench.sh [filter], a regular expression over rows.
# Prints one table, the worst ratio ours/peer first; rows above their limit are marked.
set -euo pipefail

scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
filter=${1:-.}

# Silent unless it fails: the table is the output.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "$scripts/setup.sh" --bench && "$scripts/build.sh" bench --target zan_core_bench; } > "$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

cd "$scripts/.."
for program in build/bench/benchmarks/zan_bench_*; do
    if [[ -f $program && -x $program ]]; then
        folder=${program##*/zan_bench_}
        "$program" --benchmark_filter="$filter" | sed "s/^/$folder\t/"
    fi
done | sort -t $'\t' -k 2,2gr | awk -F '\t' '
    BEGIN { Add( "ratio", "limit", "folder", "row", "peer" ) }
    { Above += $5 != "" && $2 > $5 + 0; Add( $2 ( $5 != "" && $2 > $5 + 0 ? " !" : "" ), $5, $1, $3, $4 ) }
    END {
        for ( i = 1; i <= Count; ++i )
            printf "%-*s  %-*s  %-*s  %-*s  %s\n", Width[ 1 ], Cell[ i, 1 ], Width[ 2 ], Cell[ i, 2 ],
                Width[ 3 ], Cell[ i, 3 ], Width[ 4 ], Cell[ i, 4 ], Cell[ i, 5 ]
        printf "%d rows, %d above their limit\n", Count - 1, Above
    }
    function Add( a, b, c, d, e ) { ++Count; Set( 1, a ); Set( 2, b ); Set( 3, c ); Set( 4, d ); Set( 5, e ) }
    function Set( Column, Text ) {
        Cell[ Count, Column ] = Text
        if ( length( Text ) > Width[ Column ] ) Width[ Column ] = length( Text )
    }'
