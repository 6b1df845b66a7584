tlm_add_test(test_settings_forms GUI SOURCES
  ${TLM_FORMS_DIR}/../database/db_fixture.cpp
  ${TLM_FORMS_DIR}/../domain/domain_test_fixture.cpp
  ${TLM_FORMS_DIR}/manager_settings_form_test.cpp
  ${TLM_FORMS_DIR}/database_settings_form_test.cpp
  ${TLM_FORMS_DIR}/option_panels_test.cpp
)
target_include_directories(test_settings_forms PRIVATE ${TLM_FORMS_DIR} ${TLM_FORMS_DIR}/..)
