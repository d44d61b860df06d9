#pragma once

/// The part of the routing grid that holds graphics items: the rest is left
/// empty until scrolled to. Tiles are blocks of 10 lines.
struct TileBand
{
    static constexpr int kTileLines = 10;
    static constexpr int kBandRowTiles = 6;    // tiled from 60 rows on
    static constexpr int kBandColumnTiles = 10; // tiled from 100 columns on

    int firstRow = 0;
    int lastRow = -1;   // inclusive; below firstRow when there are no rows
    int firstColumn = 0;
    int lastColumn = -1;

    /// The band at tile origin (rowTile, colTile) of a grid of rows x columns.
    /// Grids under 60 rows (100 columns) are populated whole. visibleRows and
    /// visibleColumns (lines in the view) only ever widen the band, so a
    /// window larger than the band never shows a hole.
    static TileBand compute(int rows, int columns, int rowTile, int colTile, int visibleRows = 0,
                            int visibleColumns = 0);
    /// The tile holding a line.
    static int tileOf(int line) { return line < 0 ? 0 : line / kTileLines; }

    bool containsRow(int r) const { return r >= firstRow && r <= lastRow; }
    bool containsColumn(int c) const { return c >= firstColumn && c <= lastColumn; }
    bool contains(int r, int c) const { return containsRow(r) && containsColumn(c); }
    int rowCount() const { return lastRow >= firstRow ? lastRow - firstRow + 1 : 0; }
    int columnCount() const { return lastColumn >= firstColumn ? lastColumn - firstColumn + 1 : 0; }
    bool operator==(const TileBand &o) const
    {
        return firstRow == o.firstRow && lastRow == o.lastRow && firstColumn == o.firstColumn
            && lastColumn == o.lastColumn;
    }
    bool operator!=(const TileBand &o) const { return !(*this == o); }
};
