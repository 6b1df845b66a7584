#pragma once

#include <memory>

#include "admin/admin_test_support.h"
#include "admin/manager_list_form.h"
#include "core/process_state.h"
#include "desktop/grid_view.h"

namespace tlm::test {

// A list window of one section, opened the way the section loader opens it.
class ListFormTest : public AdminDbTest {
  protected:
    void TearDown() override {
        form.reset();
        AdminDbTest::TearDown();
    }
    frmManagerList& Open(qint32 section) {
        Process().lngCurrentSection = section;
        form = std::make_unique<frmManagerList>();
        form->Load();
        form->show();
        return *form;
    }
    GridWidget& G() { return *form->grid(); }

    std::unique_ptr<frmManagerList> form;
};

}  // namespace tlm::test
