#pragma once

// USImageList: an invisible holder of image lists on a form, which other
// controls use by reference. Its lists are stored in the form as exported
// list files ("Count", then "Img1" ... "ImgN"). On a design surface it shows
// as a 32 × 32 toolbox picture; a running form never shows it.

#include <cstdint>

#include "kelvara/frame/AboutBox.h"
#include "kelvara/host/UserControl.h"
#include "kelvara/image/lists/APIImageLists.h"

namespace kelvara {

class USImageList : public UserControl {
public:
    USImageList();
    // Shows the library's about box and returns when it is closed.
    void About() { ShowAboutBox(TypeName()); }

    APIImageLists& ImageLists() { return *lists; }
    // The lists changed (the property page calls this): the form must save
    // the control again.
    void UpdateLists();
    // Whether the collection serves a running program (false on a design
    // surface), as the container said last.
    bool UserMode() const { return userMode; }

protected:
    void UserControl_Initialize() override;
    void UserControl_InitProperties() override;
    void UserControl_ReadProperties(PropertyBag& PropBag) override;
    void UserControl_WriteProperties(PropertyBag& PropBag) override;
    void UserControl_Resize() override;
    void UserControl_Show() override;

private:
    std::unique_ptr<APIImageLists> lists;
    bool userMode = false;
};

}  // namespace kelvara
