-- The local database on SQL Server. Running it again changes nothing.
-- It needs no batch separator: the whole file is one batch.

-- Control tables

-- One row per copied table: lock, last update, filter of order statuses, place in the catalog.
IF OBJECT_ID(N'tstables', N'U') IS NULL
CREATE TABLE tstables (
    tablename NVARCHAR(30) NOT NULL, lutm DATETIME, in_use INT DEFAULT 0, reqd INT DEFAULT 0,
    FilterFlag INT DEFAULT 0, ERPTableID NVARCHAR(30), tableid INT, productid NVARCHAR(10),
    CONSTRAINT tstables_key PRIMARY KEY (tablename)
);

-- The groups that list the tables, with the label of the text that each is shown with.
IF OBJECT_ID(N'tstreenodes', N'U') IS NULL
CREATE TABLE tstreenodes (
    tableid INT NOT NULL, groupid NVARCHAR(30) NOT NULL, label NVARCHAR(30),
    CONSTRAINT tstreenodes_key PRIMARY KEY (groupid, tableid)
);

-- Display texts.
IF OBJECT_ID(N'tsi18ntext', N'U') IS NULL
CREATE TABLE tsi18ntext (
    label NVARCHAR(30) NOT NULL, text NVARCHAR(255),
    CONSTRAINT tsi18ntext_key PRIMARY KEY (label)
);

-- Tables that were copied in full. The two columns hold an empty date as the server reads it, no real times.
IF OBJECT_ID(N'tsfullsyncs', N'U') IS NULL
CREATE TABLE tsfullsyncs (
    tablename NVARCHAR(30) NOT NULL, starttime DATETIME, finishtime DATETIME,
    CONSTRAINT tsfullsyncs_key PRIMARY KEY (tablename)
);

-- One row: days of calendar history to fetch, and whether calendars are expanded per day (1).
IF OBJECT_ID(N'tsparameters', N'U') IS NULL
CREATE TABLE tsparameters (
    Qrxcal INT, tvkparam INT
);

-- Master data
-- Every target table has upd_flag: 1 while a full copy has not yet confirmed the row, else 0.

-- Skill combinations. No key: every update sets all rows.
IF OBJECT_ID(N'tsmdm000', N'U') IS NULL
CREATE TABLE tsmdm000 (
    skla NVARCHAR(4), sklb NVARCHAR(4), sklc NVARCHAR(4), untd NVARCHAR(10), upd_flag INT DEFAULT 0
);

-- Service types.
IF OBJECT_ID(N'tsmdm030', N'U') IS NULL
CREATE TABLE tsmdm030 (
    cstp NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), prod NVARCHAR(16), ract NVARCHAR(6), dahe INT,
    upd_flag INT DEFAULT 0,
    CONSTRAINT tsmdm030_key PRIMARY KEY (cstp)
);

-- Service centers.
IF OBJECT_ID(N'tsmdm100', N'U') IS NULL
CREATE TABLE tsmdm100 (
    cwoc NVARCHAR(6) NOT NULL, dsca NVARCHAR(60), ccal NVARCHAR(16), wctp NVARCHAR(16), cmwc NVARCHAR(6),
    cwar NVARCHAR(16), clrt NVARCHAR(16), srtp NVARCHAR(16), srep NVARCHAR(16), upd_flag INT DEFAULT 0,
    CONSTRAINT tsmdm100_key PRIMARY KEY (cwoc)
);

-- Service areas.
IF OBJECT_ID(N'tsmdm105', N'U') IS NULL
CREATE TABLE tsmdm105 (
    csar NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), artp INT, cmsa NVARCHAR(3), cwoc NVARCHAR(6),
    cwar NVARCHAR(16), trti FLOAT, dist FLOAT, ccha FLOAT, ccur NVARCHAR(16), clrt NVARCHAR(16),
    upd_flag INT DEFAULT 0,
    CONSTRAINT tsmdm105_key PRIMARY KEY (csar)
);

-- Skills.
IF OBJECT_ID(N'tsmdm130', N'U') IS NULL
CREATE TABLE tsmdm130 (
    skll NVARCHAR(4) NOT NULL, dsca NVARCHAR(60), clrt NVARCHAR(16), upd_flag INT DEFAULT 0,
    CONSTRAINT tsmdm130_key PRIMARY KEY (skll)
);

-- Skills of service employees.
IF OBJECT_ID(N'tsmdm135', N'U') IS NULL
CREATE TABLE tsmdm135 (
    emno NVARCHAR(6) NOT NULL, skll NVARCHAR(4) NOT NULL, cogr NVARCHAR(6) NOT NULL, afct FLOAT,
    upd_flag INT DEFAULT 0,
    CONSTRAINT tsmdm135_key PRIMARY KEY (emno, skll, cogr)
);

-- Service employees.
IF OBJECT_ID(N'tsmdm140', N'U') IS NULL
CREATE TABLE tsmdm140 (
    emno NVARCHAR(6) NOT NULL, dsca NVARCHAR(60), cwoc NVARCHAR(6), ccal NVARCHAR(16), cadr NVARCHAR(9),
    frmn NVARCHAR(16), csar NVARCHAR(3), ccar NVARCHAR(16), ouser NVARCHAR(60), mpod FLOAT,
    upd_flag INT DEFAULT 0,
    CONSTRAINT tsmdm140_key PRIMARY KEY (emno)
);

-- Response times.
IF OBJECT_ID(N'tsclm020', N'U') IS NULL
CREATE TABLE tsclm020 (
    crtc NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), ccal NVARCHAR(16), rctt DECIMAL(15,2), enst DECIMAL(15,2),
    sltn DECIMAL(15,2), upd_flag INT DEFAULT 0,
    CONSTRAINT tsclm020_key PRIMARY KEY (crtc)
);

-- Solution times; the key is a number of minutes.
IF OBJECT_ID(N'tsclm024', N'U') IS NULL
CREATE TABLE tsclm024 (
    sltt DECIMAL(15,2) NOT NULL, dsca NVARCHAR(60), upd_flag INT DEFAULT 0,
    CONSTRAINT tsclm024_key PRIMARY KEY (sltt)
);

-- Addresses.
IF OBJECT_ID(N'tccom130', N'U') IS NULL
CREATE TABLE tccom130 (
    cadr NVARCHAR(9) NOT NULL, nama NVARCHAR(100), namc NVARCHAR(100), hono NVARCHAR(30),
    name NVARCHAR(100), pstc NVARCHAR(30), upd_flag INT DEFAULT 0,
    CONSTRAINT tccom130_key PRIMARY KEY (cadr)
);

-- Calendars and configuration

-- Availability types.
IF OBJECT_ID(N'tcccp001', N'U') IS NULL
CREATE TABLE tcccp001 (
    ract NVARCHAR(6) NOT NULL, dsca NVARCHAR(60), ptmu NVARCHAR(16), hrsd NVARCHAR(16), avlb NVARCHAR(16),
    upd_flag INT DEFAULT 0,
    CONSTRAINT tcccp001_key PRIMARY KEY (ract)
);

-- Actual calendars: one row per availability interval of a calendar, local and UTC.
IF OBJECT_ID(N'tcccp030', N'U') IS NULL
CREATE TABLE tcccp030 (
    ccal NVARCHAR(16), ract NVARCHAR(6), stdt DATETIME, sttm INT, endt DATETIME, entm INT,
    cutm NVARCHAR(16), ccap NVARCHAR(16), ustm DATETIME, uftm DATETIME, ahrs NVARCHAR(60),
    upd_flag INT DEFAULT 0
);
IF NOT EXISTS (SELECT * FROM sys.indexes WHERE name = N'tcccp030_ccal' AND object_id = OBJECT_ID(N'tcccp030'))
CREATE INDEX tcccp030_ccal ON tcccp030 (ccal);

-- The intervals cut into one row per day, in UTC. Rows are added by position: keep the first four columns first.
IF OBJECT_ID(N'tcccp031', N'U') IS NULL
CREATE TABLE tcccp031 (
    ccal NVARCHAR(16), ract NVARCHAR(6), ustm DATETIME, uftm DATETIME, upd_flag INT DEFAULT 0
);
IF NOT EXISTS (SELECT * FROM sys.indexes WHERE name = N'tcccp031_ccal' AND object_id = OBJECT_ID(N'tcccp031'))
CREATE INDEX tcccp031_ccal ON tcccp031 (ccal);

-- Installations.
IF OBJECT_ID(N'tscfg220', N'U') IS NULL
CREATE TABLE tscfg220 (
    ccfg NVARCHAR(8) NOT NULL, dsca NVARCHAR(60), ofbp NVARCHAR(16), cwoc NVARCHAR(6), csar NVARCHAR(3),
    tecr NVARCHAR(16), teca NVARCHAR(16), tecb NVARCHAR(16), cusc NVARCHAR(60), czon NVARCHAR(16),
    dist NVARCHAR(16), trti NVARCHAR(16), ccal NVARCHAR(16), cadr NVARCHAR(9), upd_flag INT DEFAULT 0,
    CONSTRAINT tscfg220_key PRIMARY KEY (ccfg)
);

-- Service objects of an installation.
IF OBJECT_ID(N'tscfg200', N'U') IS NULL
CREATE TABLE tscfg200 (
    ccfg NVARCHAR(8) NOT NULL, crob NVARCHAR(47) NOT NULL, oseq SMALLINT NOT NULL, dsca NVARCHAR(60),
    cogr NVARCHAR(6), emno NVARCHAR(6), cusc NVARCHAR(60), manu NVARCHAR(16), ccal NVARCHAR(16),
    cdel NVARCHAR(16), upd_flag INT DEFAULT 0,
    CONSTRAINT tscfg200_key PRIMARY KEY (ccfg, crob, oseq)
);

-- Service orders

-- Service orders.
IF OBJECT_ID(N'tssoc200', N'U') IS NULL
CREATE TABLE tssoc200 (
    orno NVARCHAR(9) NOT NULL, ccfg NVARCHAR(8), ofbp NVARCHAR(16), stna NVARCHAR(100), lcad NVARCHAR(9),
    cprj NVARCHAR(16), ordt DATETIME, osta INT, cwoc NVARCHAR(6), csar NVARCHAR(3), emno NVARCHAR(6),
    blyn TINYINT, ityn TINYINT, crit NVARCHAR(16), ordu FLOAT, tvdu FLOAT, pstm DATETIME, pftm DATETIME,
    estm DATETIME, lftm DATETIME, otim TINYINT, appo TINYINT, rsrp TINYINT, tstm DATETIME, astm DATETIME,
    aftm DATETIME, csco NVARCHAR(16), csqu NVARCHAR(16), stbp NVARCHAR(16), emer TINYINT, minu INT,
    ract DATETIME, upd_flag INT DEFAULT 0,
    CONSTRAINT tssoc200_key PRIMARY KEY (orno)
);

-- Activities of service orders.
IF OBJECT_ID(N'tssoc210', N'U') IS NULL
CREATE TABLE tssoc210 (
    orno NVARCHAR(9) NOT NULL, acln INT NOT NULL, crac NVARCHAR(8), dsca NVARCHAR(255), cstp NVARCHAR(3),
    cagr NVARCHAR(16), ccfg NVARCHAR(8), crob NVARCHAR(47), oseq INT, ccll NVARCHAR(16), crtc NVARCHAR(3),
    prpr INT, cupr INT, obpr INT, cprl NVARCHAR(16), cstn NVARCHAR(16), asta INT, skla NVARCHAR(4),
    sklb NVARCHAR(4), sklc NVARCHAR(4), acdu FLOAT, appo TINYINT, pstm DATETIME, pftm DATETIME,
    estm DATETIME, lftm DATETIME, astm DATETIME, aftm DATETIME, upd_flag INT DEFAULT 0,
    CONSTRAINT tssoc210_key PRIMARY KEY (orno, acln)
);

-- Lines of service orders.
IF OBJECT_ID(N'tssoc205', N'U') IS NULL
CREATE TABLE tssoc205 (
    orno NVARCHAR(9) NOT NULL, line INT NOT NULL, emno NVARCHAR(6), acln INT, upd_flag INT DEFAULT 0,
    CONSTRAINT tssoc205_key PRIMARY KEY (orno, line)
);

-- Assignments of engineers to activities.
IF OBJECT_ID(N'tssoc206', N'U') IS NULL
CREATE TABLE tssoc206 (
    orno NVARCHAR(9) NOT NULL, asln SMALLINT NOT NULL, acln SMALLINT, emno NVARCHAR(6), dltm DATETIME,
    actm DATETIME, rjtm DATETIME, pstm DATETIME, pftm DATETIME, astm DATETIME, aftm DATETIME, jctm DATETIME,
    ltct DATETIME, upd_flag INT DEFAULT 0,
    CONSTRAINT tssoc206_key PRIMARY KEY (orno, asln)
);

-- Planned activities of installations.
IF OBJECT_ID(N'tsspc200', N'U') IS NULL
CREATE TABLE tsspc200 (
    ccfg NVARCHAR(8) NOT NULL, crac NVARCHAR(8) NOT NULL, aseq INT NOT NULL, dsca NVARCHAR(255),
    cagr NVARCHAR(16), cstp NVARCHAR(3), cwoc NVARCHAR(6), crob NVARCHAR(47), oseq INT, esct DATETIME,
    psct DATETIME, pfct DATETIME, lfct DATETIME, adur FLOAT, trtm FLOAT, skla NVARCHAR(4), sklb NVARCHAR(4),
    sklc NVARCHAR(4), appo TINYINT, stat INT, orno NVARCHAR(9), acln INT, upd_flag INT DEFAULT 0,
    CONSTRAINT tsspc200_key PRIMARY KEY (ccfg, crac, aseq)
);

-- Change-log tables: emptied by a full copy of their table

-- The last change that an incremental copy made to an order: I, U or D.
IF OBJECT_ID(N'tssoc200_audit', N'U') IS NULL
CREATE TABLE tssoc200_audit (
    orno NVARCHAR(9) NOT NULL, time DATETIME, action NVARCHAR(1),
    CONSTRAINT tssoc200_audit_key PRIMARY KEY (orno)
);

-- The last change to an activity.
IF OBJECT_ID(N'tssoc210_audit', N'U') IS NULL
CREATE TABLE tssoc210_audit (
    orno NVARCHAR(9) NOT NULL, acln INT NOT NULL, time DATETIME, action NVARCHAR(1),
    CONSTRAINT tssoc210_audit_key PRIMARY KEY (orno, acln)
);

-- The last change to an assignment; the activity line is not part of the key.
IF OBJECT_ID(N'tssoc206_audit', N'U') IS NULL
CREATE TABLE tssoc206_audit (
    orno NVARCHAR(9) NOT NULL, acln INT, asln INT NOT NULL, time DATETIME, action NVARCHAR(1),
    CONSTRAINT tssoc206_audit_key PRIMARY KEY (orno, asln)
);
