# Widget tests drive the grid with Qt Test's key and mouse events (Qt Test ships with qt6-base-dev).
find_package(Qt6 REQUIRED COMPONENTS Test)
tlm_add_test(test_grid GUI SOURCES
  ${TLM_FORMS_DIR}/grid_model_test.cpp
  ${TLM_FORMS_DIR}/grid_widget_test.cpp
)
target_link_libraries(test_grid PRIVATE Qt6::Test)
