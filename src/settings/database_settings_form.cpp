#include "settings/database_settings_form.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "core/local_settings.h"
#include "core/process_state.h"
#include "database/connection.h"
#include "desktop/dialogs.h"

namespace tlm {

namespace {

const QString kBrowseTitle = QStringLiteral("Select a folder to save the MDB file");

template <typename W>
W* Named(W* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

}  // namespace

ucDatabaseSettings::ucDatabaseSettings(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucDatabaseSettings"));
    auto* outer = new QVBoxLayout(this);

    frameDatabase_ = Named(new QGroupBox(this), "frameDatabase");
    auto* frame = new QVBoxLayout(frameDatabase_);

    auto* typeRow = new QFormLayout;
    cboDatabaseTypes_ = Named(new QComboBox(frameDatabase_), "cboDatabaseTypes");
    typeRow->addRow(QStringLiteral("Database type"), cboDatabaseTypes_);
    frame->addLayout(typeRow);

    picMDBPath_ = Named(new QWidget(frameDatabase_), "picMDBPath");
    auto* pathRow = new QHBoxLayout(picMDBPath_);
    pathRow->setContentsMargins(0, 0, 0, 0);
    lblSaveIn_ = Named(new QLabel(picMDBPath_), "lblSaveIn");
    txtMDBPath_ = Named(new QLineEdit(picMDBPath_), "txtMDBPath");
    cmdBrowseMDBpath_ = Named(new QPushButton(QStringLiteral("Browse..."), picMDBPath_), "cmdBrowseMDBpath");
    pathRow->addWidget(lblSaveIn_);
    pathRow->addWidget(txtMDBPath_, 1);
    pathRow->addWidget(cmdBrowseMDBpath_);
    frame->addWidget(picMDBPath_);

    picDBConnection_ = Named(new QWidget(frameDatabase_), "picDBConnection");
    auto* server = new QFormLayout(picDBConnection_);
    server->setContentsMargins(0, 0, 0, 0);
    cboServerKind_ = Named(new QComboBox(picDBConnection_), "cboServerKind");
    cboServerKind_->addItems({QStringLiteral("SQL Server"), QStringLiteral("PostgreSQL")});
    txtServer_ = Named(new QLineEdit(picDBConnection_), "txtServer");
    txtServer_->setPlaceholderText(QStringLiteral("host, or host,port"));
    lblDatabase_ = Named(new QLabel(picDBConnection_), "lblDatabase");
    txtDatabase_ = Named(new QLineEdit(picDBConnection_), "txtDatabase");
    txtDatabase_->setPlaceholderText(kDefaultDatabaseName);
    chkIntegratedSecurity_ = Named(new QCheckBox(QStringLiteral("Integrated security"), picDBConnection_),
                                   "chkIntegratedSecurity");
    txtUserName_ = Named(new QLineEdit(picDBConnection_), "txtUserName");
    txtPassword_ = Named(new QLineEdit(picDBConnection_), "txtPassword");
    txtPassword_->setEchoMode(QLineEdit::Password);
    server->addRow(QStringLiteral("Server kind"), cboServerKind_);
    server->addRow(QStringLiteral("Server"), txtServer_);
    server->addRow(lblDatabase_, txtDatabase_);
    server->addRow(QString(), chkIntegratedSecurity_);
    server->addRow(QStringLiteral("User name"), txtUserName_);
    server->addRow(QStringLiteral("Password"), txtPassword_);
    frame->addWidget(picDBConnection_);

    cmdTest_ = Named(new QPushButton(QStringLiteral("Test Connection"), frameDatabase_), "cmdTest");
    auto* testRow = new QHBoxLayout;
    testRow->addStretch(1);
    testRow->addWidget(cmdTest_);
    frame->addLayout(testRow);
    lblStatus_ = Named(new QLabel(frameDatabase_), "lblStatus");
    labelDBStatus_ = Named(new QLabel(frameDatabase_), "labelDBStatus");
    for (QLabel* l : {lblStatus_, labelDBStatus_}) {
        l->setWordWrap(true);
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        frame->addWidget(l);
    }
    outer->addWidget(frameDatabase_);

    frameInfo_ = Named(new QGroupBox(this), "frameInfo");
    auto* info = new QVBoxLayout(frameInfo_);
    for (const QString& text :
         {QStringLiteral(
              "If you are using a SQL server database, make sure all members have access to it on the "
              "network."),
          QStringLiteral(
              "For instance, if you choose an Access database, make sure you specify a shared network "
              "folder (UNC path) where the MDB file is to be placed. It is also important that all "
              "members have write permission over this shared folder.")}) {
        auto* line = new QLabel(text, frameInfo_);
        line->setWordWrap(true);
        info->addWidget(line);
    }
    outer->addWidget(frameInfo_);

    cmdContinue_ = Named(new QPushButton(QStringLiteral("Continue"), this), "cmdContinue");
    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(cmdContinue_);
    outer->addLayout(bottom);
    outer->addStretch(1);

    cmdBrowseMDBpath_->setAutoDefault(false);
    cmdTest_->setAutoDefault(false);

    connect(cboDatabaseTypes_, &QComboBox::currentIndexChanged, this,
            &ucDatabaseSettings::onDatabaseTypeChanged);
    connect(cboServerKind_, &QComboBox::currentIndexChanged, this, [this] { clearStatus(); });
    connect(chkIntegratedSecurity_, &QCheckBox::toggled, this,
            &ucDatabaseSettings::onIntegratedSecurityToggled);
    connect(cmdBrowseMDBpath_, &QPushButton::clicked, this, &ucDatabaseSettings::onBrowse);
    connect(cmdTest_, &QPushButton::clicked, this, [this] { fncCheckDatabaseConnection(); });
    connect(cmdContinue_, &QPushButton::clicked, this, &SettingsPanel::saveRequested);
}

QColor ucDatabaseSettings::ColourOf(StatusColour colour) {
    switch (colour) {
        case StatusColour::Green:
            return QColor(Qt::darkGreen);
        case StatusColour::Red:
            return QColor(Qt::red);
        case StatusColour::None:
            break;
    }
    return QApplication::palette().color(QPalette::WindowText);
}

void ucDatabaseSettings::subGetSettings() {
    const cMySettings* s = Process().mySettings;
    const DatabaseFields f = s ? FieldsFromSettings(*s) : DatabaseFields();
    // Loading is no user's choice: the change handlers would tick integrated security.
    const QSignalBlocker blockTypes(cboDatabaseTypes_);
    const QSignalBlocker blockKinds(cboServerKind_);
    cboDatabaseTypes_->clear();
    cboDatabaseTypes_->addItems(
        {QStringLiteral("Local database file (SQLite)"), QStringLiteral("SQL server")});
    // Only 0 and 1 are offered; a hand-edited kind shows as a server.
    cboDatabaseTypes_->setCurrentIndex(f.dbChoice == 0 ? 0 : 1);
    if (f.dbChoice != 0) {
        cboServerKind_->setCurrentIndex(f.serverKind == ServerKind::PostgreSQL ? 1 : 0);
        txtServer_->setText(f.server);
        txtDatabase_->setText(f.database);
        txtUserName_->setText(f.userName);
        txtPassword_->setText(f.password);
        chkIntegratedSecurity_->setChecked(f.integratedSecurity);
        picDBConnection_->show();
        picMDBPath_->hide();
    } else {
        picDBConnection_->hide();
        picMDBPath_->show();
        txtMDBPath_->setText(f.folder);
        if (f.folder.trimmed().isEmpty() && !Process().blnDatabaseSetup) {
            proposedFolder_ = DefaultDataFolder();
            txtMDBPath_->setText(proposedFolder_);
        }
    }
    onIntegratedSecurityToggled(chkIntegratedSecurity_->isChecked());
    lblDatabase_->setText(QStringLiteral("Database"));
    cmdContinue_->setVisible(!Process().blnDatabaseSetup);
    // Enter in the first-run dialog goes on, rather than browsing or testing.
    cmdContinue_->setDefault(!Process().blnDatabaseSetup);
    frameDatabase_->setTitle(QStringLiteral("Database Settings"));
    lblSaveIn_->setText(QStringLiteral("Save in"));
    frameInfo_->show();
    clearStatus();
}

DatabaseFields ucDatabaseSettings::fields() const {
    DatabaseFields f;
    f.dbChoice = cboDatabaseTypes_->currentIndex() < 0 ? 0 : cboDatabaseTypes_->currentIndex();
    f.serverKind = cboServerKind_->currentIndex() == 1 ? ServerKind::PostgreSQL : ServerKind::SqlServer;
    f.server = txtServer_->text();
    f.database = txtDatabase_->text();
    f.integratedSecurity = chkIntegratedSecurity_->isChecked();
    f.userName = txtUserName_->text();
    f.password = txtPassword_->text();
    f.folder = txtMDBPath_->text();
    f.createFolderIfMissing = !proposedFolder_.isEmpty() && f.folder.trimmed() == proposedFolder_;
    return f;
}

void ucDatabaseSettings::onDatabaseTypeChanged(int index) {
    clearStatus();
    if (index == 0) {
        picDBConnection_->hide();
        picMDBPath_->show();
        return;
    }
    lblDatabase_->setText(QStringLiteral("Database"));
    chkIntegratedSecurity_->show();
    chkIntegratedSecurity_->setChecked(true);
    picMDBPath_->hide();
    picDBConnection_->show();
}

void ucDatabaseSettings::onIntegratedSecurityToggled(bool checked) {
    for (QLineEdit* edit : {txtUserName_, txtPassword_}) {
        edit->setEnabled(!checked);
        QPalette p = edit->palette();
        p.setColor(QPalette::Base,
                   checked ? QApplication::palette().color(QPalette::Button) : QColor(Qt::white));
        edit->setPalette(p);
    }
}

void ucDatabaseSettings::onBrowse() {
    const QString folder = fncBrowseForFolder(this, kBrowseTitle);
    if (folder.isEmpty())
        return;
    txtMDBPath_->setText(folder);
    clearStatus();
}

void ucDatabaseSettings::clearStatus() {
    showLine(lblStatus_, StatusLine());
    showLine(labelDBStatus_, StatusLine());
}

void ucDatabaseSettings::showLine(QLabel* label, const StatusLine& line) {
    label->setText(line.text);
    QPalette p = label->palette();
    p.setColor(QPalette::WindowText, ColourOf(line.colour));
    label->setPalette(p);
}

void ucDatabaseSettings::showCheck(const ConnectionCheck& check) {
    showLine(lblStatus_, check.server);
    showLine(labelDBStatus_, check.database);
}

bool ucDatabaseSettings::fncCheckDatabaseConnection() {
    const DatabaseFields f = fields();
    // A server that does not answer keeps the test busy until the login time-out.
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const ConnectionCheck check =
        f.dbChoice == 0 ? CheckDatabaseFolder(f) : tlm::fncCheckDatabaseConnection(f);
    QApplication::restoreOverrideCursor();
    showCheck(check);
    return check.ok;
}

bool ucDatabaseSettings::SaveGlobalSettings() {
    cMySettings* s = Process().mySettings;
    if (!s) {
        showLine(lblStatus_, {QStringLiteral("The local settings are not loaded."), StatusColour::Red});
        return false;
    }
    const DatabaseFields f = fields();
    const cMySettings previous = *s;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    ConnectionCheck check;
    bool ok = ApplyDatabaseSettings(f, *s, &check);
    QString why;
    // On first run with a server nothing is saved here: the connection flow saves once the database
    // stands, so a failed creation leaves nothing behind.
    if (ok && Process().blnDatabaseSetup)
        ok = ReloadAfterDatabaseSetup(previous, &why);
    else if (ok && f.dbChoice == 0)
        s->SaveSettings();
    QApplication::restoreOverrideCursor();
    showCheck(check);
    if (!why.isEmpty())
        showLine(labelDBStatus_, {why, StatusColour::Red});
    return ok;
}

}  // namespace tlm
