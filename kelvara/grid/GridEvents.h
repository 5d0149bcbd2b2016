#pragma once

// Every event the grid raises, as Event<...> members named after the event.
// Arguments the host may change are references. Keys and shifts are the
// host's Integers, mouse coordinates its Singles.

#include <cstdint>
#include <string>

#include "kelvara/base/Event.h"
#include "kelvara/host/DataObject.h"

namespace kelvara {

struct GridEvents {
    Event<> AfterDelete;
    Event<int32_t /*Row*/, int32_t /*Col*/, std::string& /*xValue*/, bool& /*Cancel*/> AfterEdit;
    Event<int32_t /*Row*/> AfterInsert;
    Event<bool& /*MoveToCurrentRow*/> AfterRowChecked;
    Event<int32_t /*Row*/, bool& /*Cancel*/> BeforeDelete;
    Event<int32_t /*Row*/, int32_t /*Col*/, bool& /*Cancel*/> BeforeEdit;
    Event<int32_t /*Row*/, bool& /*Cancel*/> BeforeInsert;
    Event<int32_t /*Row*/, int32_t /*Col*/> CellButtonClick;
    Event<int32_t /*Row*/, int32_t /*Col*/, int16_t& /*Shift*/> CellClick;
    Event<int32_t /*Row*/, int32_t /*Col*/, int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/,
          float& /*Y*/>
        CellMouseDown;
    Event<int32_t /*Row*/, int32_t /*Col*/, int16_t& /*Shift*/> CellHandClick;
    Event<int32_t /*Row*/, int32_t /*Col*/> CellImageClick;
    Event<> Click;
    Event<> DblClick;
    Event<int32_t /*Col*/> ColumnClick;
    Event<int32_t /*FromCol*/, int32_t /*ToCol*/> ColumnOrderChanged;
    Event<int32_t /*Col*/, int16_t /*MoveControl*/> ColumnSizeChanged;
    Event<bool& /*Ascending*/, int32_t& /*Col*/, std::string& /*Value1*/, std::string& /*Value2*/,
          bool& /*Swap*/>
        CustomSort;
    Event<int32_t /*Col*/, int16_t& /*KeyAscii*/> EditKeyPress;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyDown;
    Event<int16_t& /*KeyAscii*/> KeyPress;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyUp;
    Event<int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/, float& /*Y*/> MouseDown;
    Event<> MouseEnter;
    Event<> MouseExit;
    Event<int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/, float& /*Y*/> MouseMove;
    Event<int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/, float& /*Y*/> MouseUp;
    // A drop on the control, passed through as it came.
    Event<DataObject& /*Data*/, int32_t& /*Effect*/, int16_t& /*Button*/, int16_t& /*Shift*/,
          float& /*X*/, float& /*Y*/>
        OLEDragDrop;
    Event<int32_t /*Row*/> RequestRowData;
    // The event RowChecked; the plain name belongs to the row property
    // RowChecked(xRow), which C++ cannot share with a data member.
    Event<int32_t /*Row*/> RowCheckedEvent;
    Event<> RowColChanged;
    Event<> RowCountChanged;
    Event<> Scroll;
    Event<> SelectionChanged;
    Event<> SortComplete;
};

}  // namespace kelvara
