-- The local database on the embedded engine. Running it again changes nothing.
--
-- The declared types steer how columns are read back: DATETIME gives a date, INTEGER a whole number, REAL a
-- real number, NVARCHAR a text. Keys are the tables' own storage (WITHOUT ROWID): one b-tree per table.

-- Control tables

-- One row per copied table: lock, last update, filter of order statuses, place in the catalog.
CREATE TABLE IF NOT EXISTS tstables (
    tablename NVARCHAR(30) NOT NULL, lutm DATETIME, in_use INTEGER DEFAULT 0, reqd INTEGER DEFAULT 0,
    FilterFlag INTEGER DEFAULT 0, ERPTableID NVARCHAR(30), tableid INTEGER, productid NVARCHAR(10),
    PRIMARY KEY (tablename)
) WITHOUT ROWID;

-- The groups that list the tables, with the label of the text that each is shown with.
CREATE TABLE IF NOT EXISTS tstreenodes (
    tableid INTEGER NOT NULL, groupid NVARCHAR(30) NOT NULL, label NVARCHAR(30),
    PRIMARY KEY (groupid, tableid)
) WITHOUT ROWID;

-- Display texts.
CREATE TABLE IF NOT EXISTS tsi18ntext (
    label NVARCHAR(30) NOT NULL, text NVARCHAR(255),
    PRIMARY KEY (label)
) WITHOUT ROWID;

-- Tables that were copied in full. The two columns hold an empty date as the server reads it, no real times.
CREATE TABLE IF NOT EXISTS tsfullsyncs (
    tablename NVARCHAR(30) NOT NULL, starttime DATETIME, finishtime DATETIME,
    PRIMARY KEY (tablename)
) WITHOUT ROWID;

-- One row: days of calendar history to fetch, and whether calendars are expanded per day (1).
CREATE TABLE IF NOT EXISTS tsparameters (
    Qrxcal INTEGER, tvkparam INTEGER
);

-- Master data
-- Every target table has upd_flag: 1 while a full copy has not yet confirmed the row, else 0.

-- Skill combinations. No key: every update sets all rows.
CREATE TABLE IF NOT EXISTS tsmdm000 (
    skla NVARCHAR(4), sklb NVARCHAR(4), sklc NVARCHAR(4), untd NVARCHAR(10), upd_flag INTEGER DEFAULT 0
);

-- Service types.
CREATE TABLE IF NOT EXISTS tsmdm030 (
    cstp NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), prod NVARCHAR(16), ract NVARCHAR(6), dahe INTEGER,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (cstp)
) WITHOUT ROWID;

-- Service centers.
CREATE TABLE IF NOT EXISTS tsmdm100 (
    cwoc NVARCHAR(6) NOT NULL, dsca NVARCHAR(60), ccal NVARCHAR(16), wctp NVARCHAR(16), cmwc NVARCHAR(6),
    cwar NVARCHAR(16), clrt NVARCHAR(16), srtp NVARCHAR(16), srep NVARCHAR(16), upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (cwoc)
) WITHOUT ROWID;

-- Service areas.
CREATE TABLE IF NOT EXISTS tsmdm105 (
    csar NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), artp INTEGER, cmsa NVARCHAR(3), cwoc NVARCHAR(6),
    cwar NVARCHAR(16), trti REAL, dist REAL, ccha REAL, ccur NVARCHAR(16), clrt NVARCHAR(16),
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (csar)
) WITHOUT ROWID;

-- Skills.
CREATE TABLE IF NOT EXISTS tsmdm130 (
    skll NVARCHAR(4) NOT NULL, dsca NVARCHAR(60), clrt NVARCHAR(16), upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (skll)
) WITHOUT ROWID;

-- Skills of service employees.
CREATE TABLE IF NOT EXISTS tsmdm135 (
    emno NVARCHAR(6) NOT NULL, skll NVARCHAR(4) NOT NULL, cogr NVARCHAR(6) NOT NULL, afct REAL,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (emno, skll, cogr)
) WITHOUT ROWID;

-- Service employees.
CREATE TABLE IF NOT EXISTS tsmdm140 (
    emno NVARCHAR(6) NOT NULL, dsca NVARCHAR(60), cwoc NVARCHAR(6), ccal NVARCHAR(16), cadr NVARCHAR(9),
    frmn NVARCHAR(16), csar NVARCHAR(3), ccar NVARCHAR(16), ouser NVARCHAR(60), mpod REAL,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (emno)
) WITHOUT ROWID;

-- Response times.
CREATE TABLE IF NOT EXISTS tsclm020 (
    crtc NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), ccal NVARCHAR(16), rctt REAL, enst REAL, sltn REAL,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (crtc)
) WITHOUT ROWID;

-- Solution times; the key is a number of minutes.
CREATE TABLE IF NOT EXISTS tsclm024 (
    sltt REAL NOT NULL, dsca NVARCHAR(60), upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (sltt)
) WITHOUT ROWID;

-- Addresses.
CREATE TABLE IF NOT EXISTS tccom130 (
    cadr NVARCHAR(9) NOT NULL, nama NVARCHAR(100), namc NVARCHAR(100), hono NVARCHAR(30),
    name NVARCHAR(100), pstc NVARCHAR(30), upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (cadr)
) WITHOUT ROWID;

-- Calendars and configuration

-- Availability types.
CREATE TABLE IF NOT EXISTS tcccp001 (
    ract NVARCHAR(6) NOT NULL, dsca NVARCHAR(60), ptmu NVARCHAR(16), hrsd NVARCHAR(16), avlb NVARCHAR(16),
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ract)
) WITHOUT ROWID;

-- Actual calendars: one row per availability interval of a calendar, local and UTC.
CREATE TABLE IF NOT EXISTS tcccp030 (
    ccal NVARCHAR(16), ract NVARCHAR(6), stdt DATETIME, sttm INTEGER, endt DATETIME, entm INTEGER,
    cutm NVARCHAR(16), ccap NVARCHAR(16), ustm DATETIME, uftm DATETIME, ahrs NVARCHAR(60),
    upd_flag INTEGER DEFAULT 0
);
CREATE INDEX IF NOT EXISTS tcccp030_ccal ON tcccp030 (ccal);

-- The intervals cut into one row per day, in UTC. Rows are added by position: keep the first four columns first.
CREATE TABLE IF NOT EXISTS tcccp031 (
    ccal NVARCHAR(16), ract NVARCHAR(6), ustm DATETIME, uftm DATETIME, upd_flag INTEGER DEFAULT 0
);
CREATE INDEX IF NOT EXISTS tcccp031_ccal ON tcccp031 (ccal);

-- Installations.
CREATE TABLE IF NOT EXISTS tscfg220 (
    ccfg NVARCHAR(8) NOT NULL, dsca NVARCHAR(60), ofbp NVARCHAR(16), cwoc NVARCHAR(6), csar NVARCHAR(3),
    tecr NVARCHAR(16), teca NVARCHAR(16), tecb NVARCHAR(16), cusc NVARCHAR(60), czon NVARCHAR(16),
    dist NVARCHAR(16), trti NVARCHAR(16), ccal NVARCHAR(16), cadr NVARCHAR(9), upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ccfg)
) WITHOUT ROWID;

-- Service objects of an installation.
CREATE TABLE IF NOT EXISTS tscfg200 (
    ccfg NVARCHAR(8) NOT NULL, crob NVARCHAR(47) NOT NULL, oseq INTEGER NOT NULL, dsca NVARCHAR(60),
    cogr NVARCHAR(6), emno NVARCHAR(6), cusc NVARCHAR(60), manu NVARCHAR(16), ccal NVARCHAR(16),
    cdel NVARCHAR(16), upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ccfg, crob, oseq)
) WITHOUT ROWID;

-- Service orders

-- Service orders.
CREATE TABLE IF NOT EXISTS tssoc200 (
    orno NVARCHAR(9) NOT NULL, ccfg NVARCHAR(8), ofbp NVARCHAR(16), stna NVARCHAR(100), lcad NVARCHAR(9),
    cprj NVARCHAR(16), ordt DATETIME, osta INTEGER, cwoc NVARCHAR(6), csar NVARCHAR(3), emno NVARCHAR(6),
    blyn INTEGER, ityn INTEGER, crit NVARCHAR(16), ordu REAL, tvdu REAL, pstm DATETIME, pftm DATETIME,
    estm DATETIME, lftm DATETIME, otim INTEGER, appo INTEGER, rsrp INTEGER, tstm DATETIME, astm DATETIME,
    aftm DATETIME, csco NVARCHAR(16), csqu NVARCHAR(16), stbp NVARCHAR(16), emer INTEGER, minu INTEGER,
    ract DATETIME, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno)
) WITHOUT ROWID;

-- Activities of service orders.
CREATE TABLE IF NOT EXISTS tssoc210 (
    orno NVARCHAR(9) NOT NULL, acln INTEGER NOT NULL, crac NVARCHAR(8), dsca NVARCHAR(255),
    cstp NVARCHAR(3), cagr NVARCHAR(16), ccfg NVARCHAR(8), crob NVARCHAR(47), oseq INTEGER,
    ccll NVARCHAR(16), crtc NVARCHAR(3), prpr INTEGER, cupr INTEGER, obpr INTEGER, cprl NVARCHAR(16),
    cstn NVARCHAR(16), asta INTEGER, skla NVARCHAR(4), sklb NVARCHAR(4), sklc NVARCHAR(4), acdu REAL,
    appo INTEGER, pstm DATETIME, pftm DATETIME, estm DATETIME, lftm DATETIME, astm DATETIME, aftm DATETIME,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno, acln)
) WITHOUT ROWID;

-- Lines of service orders.
CREATE TABLE IF NOT EXISTS tssoc205 (
    orno NVARCHAR(9) NOT NULL, line INTEGER NOT NULL, emno NVARCHAR(6), acln INTEGER,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno, line)
) WITHOUT ROWID;

-- Assignments of engineers to activities.
CREATE TABLE IF NOT EXISTS tssoc206 (
    orno NVARCHAR(9) NOT NULL, asln INTEGER NOT NULL, acln INTEGER, emno NVARCHAR(6), dltm DATETIME,
    actm DATETIME, rjtm DATETIME, pstm DATETIME, pftm DATETIME, astm DATETIME, aftm DATETIME, jctm DATETIME,
    ltct DATETIME, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno, asln)
) WITHOUT ROWID;

-- Planned activities of installations.
CREATE TABLE IF NOT EXISTS tsspc200 (
    ccfg NVARCHAR(8) NOT NULL, crac NVARCHAR(8) NOT NULL, aseq INTEGER NOT NULL, dsca NVARCHAR(255),
    cagr NVARCHAR(16), cstp NVARCHAR(3), cwoc NVARCHAR(6), crob NVARCHAR(47), oseq INTEGER, esct DATETIME,
    psct DATETIME, pfct DATETIME, lfct DATETIME, adur REAL, trtm REAL, skla NVARCHAR(4), sklb NVARCHAR(4),
    sklc NVARCHAR(4), appo INTEGER, stat INTEGER, orno NVARCHAR(9), acln INTEGER,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ccfg, crac, aseq)
) WITHOUT ROWID;

-- Change-log tables: emptied by a full copy of their table

-- The last change that an incremental copy made to an order: I, U or D.
CREATE TABLE IF NOT EXISTS tssoc200_audit (
    orno NVARCHAR(9) NOT NULL, time DATETIME, action NVARCHAR(1),
    PRIMARY KEY (orno)
) WITHOUT ROWID;

-- The last change to an activity.
CREATE TABLE IF NOT EXISTS tssoc210_audit (
    orno NVARCHAR(9) NOT NULL, acln INTEGER NOT NULL, time DATETIME, action NVARCHAR(1),
    PRIMARY KEY (orno, acln)
) WITHOUT ROWID;

-- The last change to an assignment; the activity line is not part of the key.
CREATE TABLE IF NOT EXISTS tssoc206_audit (
    orno NVARCHAR(9) NOT NULL, acln INTEGER, asln INTEGER NOT NULL, time DATETIME, action NVARCHAR(1),
    PRIMARY KEY (orno, asln)
) WITHOUT ROWID;
