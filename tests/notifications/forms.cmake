tlm_add_test(test_notifications_forms GUI SOURCES
  ${TLM_FORMS_DIR}/../database/db_fixture.cpp
  ${TLM_FORMS_DIR}/../domain/domain_test_fixture.cpp
  ${TLM_FORMS_DIR}/template_editor_form_test.cpp
)
