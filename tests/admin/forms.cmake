find_package(Qt6 REQUIRED COMPONENTS Test)
tlm_add_test(test_admin_forms GUI SOURCES
  ${TLM_FORMS_DIR}/../database/db_fixture.cpp
  ${TLM_FORMS_DIR}/../domain/domain_test_fixture.cpp
  ${TLM_FORMS_DIR}/manager_list_form_test.cpp
)
target_link_libraries(test_admin_forms PRIVATE Qt6::Test)
