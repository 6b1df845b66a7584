#pragma once

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "core/process_state.h"
#include "core/startup.h"
#include "database/db_fixture.h"
#include "database/provisioning.h"
#include "desktop/dialogs.h"
#include "settings/database_settings_form.h"
#include "settings/database_setup.h"
#include "settings/manager_settings_form.h"

namespace tlm::test {

// A fresh process for each test, with the settings window as the database dialog host.
class SettingsFormsTest : public ::testing::Test, public DatabaseEnv {
  protected:
    void SetUp() override {
        SetUpEnv();
        SetDatabaseDialogHost(&settingsHost);
        SetDatabaseReloadHook({});
        // A settings window that a test did not expect fails it and is closed, never waited on.
        SetManagerSettingsDriver([](frmManagerSettings& form) {
            ADD_FAILURE() << "unexpected settings window: " << form.windowTitle().toStdString();
        });
        DialogScript::clear();
    }
    void TearDown() override {
        SetManagerSettingsDriver({});
        SetDatabaseReloadHook({});
        DialogScript::clear();
        TearDownEnv();
    }

    template <typename W>
    static W* Child(QWidget* parent, const char* name) {
        W* w = parent->findChild<W*>(QString::fromLatin1(name));
        EXPECT_TRUE(w) << "no control " << name;
        return w;
    }
    static QString Text(QWidget* panel, const char* label) { return Child<QLabel>(panel, label)->text(); }

    // The form of a section, loaded and shown, as the modal runner would show it.
    static void Open(frmManagerSettings& form, qint32 section) {
        Process().lngCurrentSection = section;
        form.Load();
        form.show();
    }
    // The database panel as the settings command opens it on a configured machine.
    static ucDatabaseSettings* OpenSetupPanel(frmManagerSettings& form) {
        Process().blnDatabaseSetup = true;
        Open(form, 14);
        auto* panel = qobject_cast<ucDatabaseSettings*>(form.currentItem());
        EXPECT_TRUE(panel) << "the database panel is not in the form";
        return panel;
    }

    // The settings file: absent until something saves.
    static bool SettingsWritten() { return QFileInfo::exists(LocalSettingsFilePath()); }
    static cMySettings Stored() {
        cMySettings s;
        s.ReadSettings();
        return s;
    }
    // Every text the user could have seen, the panel's lines included.
    QString Seen(QWidget* panel = nullptr) const {
        QString all = AllShownText();
        if (panel)
            for (QLabel* l : panel->findChildren<QLabel*>())
                all += u'\n' + l->text();
        return all;
    }

    // The live PostgreSQL server of the test run, in the panel's terms.
    static bool HavePostgres() { return !PostgresConnectionString().isEmpty(); }
    static ConnectionTarget Pg() { return ParseConnectionString(PostgresConnectionString()); }
    static QString PgServerField() { return Pg().host + u',' + QString::number(Pg().port); }
    // Fills the panel's server fields with a login; kind 0 is SQL Server, 1 PostgreSQL.
    static void FillServer(QWidget* panel, int kind, const QString& server, const QString& database,
                           const QString& user, const QString& password) {
        Child<QComboBox>(panel, "cboDatabaseTypes")->setCurrentIndex(1);
        Child<QComboBox>(panel, "cboServerKind")->setCurrentIndex(kind);
        Child<QLineEdit>(panel, "txtServer")->setText(server);
        Child<QLineEdit>(panel, "txtDatabase")->setText(database);
        Child<QCheckBox>(panel, "chkIntegratedSecurity")->setChecked(false);
        Child<QLineEdit>(panel, "txtUserName")->setText(user);
        Child<QLineEdit>(panel, "txtPassword")->setText(password);
    }
    // The same for the test server and a database name.
    static void FillPostgres(QWidget* panel, const QString& database, const QString& password) {
        FillServer(panel, 1, PgServerField(), database, Pg().user, password);
    }

    ManagerSettingsDialogHost settingsHost;
};

}  // namespace tlm::test
