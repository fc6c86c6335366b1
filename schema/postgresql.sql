-- The local database on PostgreSQL, in the current schema. Running it again changes nothing.
--
-- Texts have no width: what the ERP has is kept. Keys, and calendars' codes, which are read in their order, are
-- compared by their bytes, whatever the database's collation.

-- Control tables

-- One row per copied table: lock, last update, filter of order statuses, place in the catalog.
CREATE TABLE IF NOT EXISTS tstables (
    tablename TEXT COLLATE "C" NOT NULL, lutm TIMESTAMP, in_use INTEGER DEFAULT 0, reqd INTEGER DEFAULT 0,
    FilterFlag INTEGER DEFAULT 0, ERPTableID TEXT, tableid INTEGER, productid TEXT,
    PRIMARY KEY (tablename)
);

-- The groups that list the tables, with the label of the text that each is shown with.
CREATE TABLE IF NOT EXISTS tstreenodes (
    tableid INTEGER NOT NULL, groupid TEXT COLLATE "C" NOT NULL, label TEXT,
    PRIMARY KEY (groupid, tableid)
);

-- Display texts.
CREATE TABLE IF NOT EXISTS tsi18ntext (
    label TEXT COLLATE "C" NOT NULL, text TEXT,
    PRIMARY KEY (label)
);

-- Tables that were copied in full. The two columns hold an empty date as the server reads it, no real times.
CREATE TABLE IF NOT EXISTS tsfullsyncs (
    tablename TEXT COLLATE "C" NOT NULL, starttime TIMESTAMP, finishtime TIMESTAMP,
    PRIMARY KEY (tablename)
);

-- One row: days of calendar history to fetch, and whether calendars are expanded per day (1).
CREATE TABLE IF NOT EXISTS tsparameters (
    Qrxcal INTEGER, tvkparam INTEGER
);

-- Master data
-- Every target table has upd_flag: 1 while a full copy has not yet confirmed the row, else 0.

-- Skill combinations. No key: every update sets all rows.
CREATE TABLE IF NOT EXISTS tsmdm000 (
    skla TEXT, sklb TEXT, sklc TEXT, untd TEXT, upd_flag INTEGER DEFAULT 0
);

-- Service types.
CREATE TABLE IF NOT EXISTS tsmdm030 (
    cstp TEXT COLLATE "C" NOT NULL, dsca TEXT, prod TEXT, ract TEXT, dahe INTEGER, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (cstp)
);

-- Service centers.
CREATE TABLE IF NOT EXISTS tsmdm100 (
    cwoc TEXT COLLATE "C" NOT NULL, dsca TEXT, ccal TEXT COLLATE "C", wctp TEXT, cmwc TEXT, cwar TEXT,
    clrt TEXT, srtp TEXT, srep TEXT, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (cwoc)
);

-- Service areas.
CREATE TABLE IF NOT EXISTS tsmdm105 (
    csar TEXT COLLATE "C" NOT NULL, dsca TEXT, artp INTEGER, cmsa TEXT, cwoc TEXT, cwar TEXT,
    trti DOUBLE PRECISION, dist DOUBLE PRECISION, ccha DOUBLE PRECISION, ccur TEXT, clrt TEXT,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (csar)
);

-- Skills.
CREATE TABLE IF NOT EXISTS tsmdm130 (
    skll TEXT COLLATE "C" NOT NULL, dsca TEXT, clrt TEXT, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (skll)
);

-- Skills of service employees.
CREATE TABLE IF NOT EXISTS tsmdm135 (
    emno TEXT COLLATE "C" NOT NULL, skll TEXT COLLATE "C" NOT NULL, cogr TEXT COLLATE "C" NOT NULL,
    afct DOUBLE PRECISION, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (emno, skll, cogr)
);

-- Service employees.
CREATE TABLE IF NOT EXISTS tsmdm140 (
    emno TEXT COLLATE "C" NOT NULL, dsca TEXT, cwoc TEXT, ccal TEXT COLLATE "C", cadr TEXT, frmn TEXT,
    csar TEXT, ccar TEXT, ouser TEXT, mpod DOUBLE PRECISION, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (emno)
);

-- Response times.
CREATE TABLE IF NOT EXISTS tsclm020 (
    crtc TEXT COLLATE "C" NOT NULL, dsca TEXT, ccal TEXT, rctt DOUBLE PRECISION, enst DOUBLE PRECISION,
    sltn DOUBLE PRECISION, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (crtc)
);

-- Solution times; the key is a number of minutes.
CREATE TABLE IF NOT EXISTS tsclm024 (
    sltt DOUBLE PRECISION NOT NULL, dsca TEXT, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (sltt)
);

-- Addresses.
CREATE TABLE IF NOT EXISTS tccom130 (
    cadr TEXT COLLATE "C" NOT NULL, nama TEXT, namc TEXT, hono TEXT, name TEXT, pstc TEXT,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (cadr)
);

-- Calendars and configuration

-- Availability types.
CREATE TABLE IF NOT EXISTS tcccp001 (
    ract TEXT COLLATE "C" NOT NULL, dsca TEXT, ptmu TEXT, hrsd TEXT, avlb TEXT, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ract)
);

-- Actual calendars: one row per availability interval of a calendar, local and UTC.
CREATE TABLE IF NOT EXISTS tcccp030 (
    ccal TEXT COLLATE "C", ract TEXT, stdt TIMESTAMP, sttm INTEGER, endt TIMESTAMP, entm INTEGER, cutm TEXT,
    ccap TEXT, ustm TIMESTAMP, uftm TIMESTAMP, ahrs TEXT, upd_flag INTEGER DEFAULT 0
);
CREATE INDEX IF NOT EXISTS tcccp030_ccal ON tcccp030 (ccal);

-- The intervals cut into one row per day, in UTC. Rows are added by position: keep the first four columns first.
CREATE TABLE IF NOT EXISTS tcccp031 (
    ccal TEXT COLLATE "C", ract TEXT, ustm TIMESTAMP, uftm TIMESTAMP, upd_flag INTEGER DEFAULT 0
);
CREATE INDEX IF NOT EXISTS tcccp031_ccal ON tcccp031 (ccal);

-- Installations.
CREATE TABLE IF NOT EXISTS tscfg220 (
    ccfg TEXT COLLATE "C" NOT NULL, dsca TEXT, ofbp TEXT, cwoc TEXT, csar TEXT, tecr TEXT, teca TEXT, tecb TEXT,
    cusc TEXT, czon TEXT, dist TEXT, trti TEXT, ccal TEXT, cadr TEXT, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ccfg)
);

-- Service objects of an installation.
CREATE TABLE IF NOT EXISTS tscfg200 (
    ccfg TEXT COLLATE "C" NOT NULL, crob TEXT COLLATE "C" NOT NULL, oseq INTEGER NOT NULL, dsca TEXT, cogr TEXT,
    emno TEXT, cusc TEXT, manu TEXT, ccal TEXT, cdel TEXT, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ccfg, crob, oseq)
);

-- Service orders

-- Service orders.
CREATE TABLE IF NOT EXISTS tssoc200 (
    orno TEXT COLLATE "C" NOT NULL, ccfg TEXT, ofbp TEXT, stna TEXT, lcad TEXT, cprj TEXT, ordt TIMESTAMP,
    osta INTEGER, cwoc TEXT, csar TEXT, emno TEXT, blyn INTEGER, ityn INTEGER, crit TEXT, ordu DOUBLE PRECISION,
    tvdu DOUBLE PRECISION, pstm TIMESTAMP, pftm TIMESTAMP, estm TIMESTAMP, lftm TIMESTAMP, otim INTEGER,
    appo INTEGER, rsrp INTEGER, tstm TIMESTAMP, astm TIMESTAMP, aftm TIMESTAMP, csco TEXT, csqu TEXT, stbp TEXT,
    emer INTEGER, minu INTEGER, ract TIMESTAMP, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno)
);

-- Activities of service orders.
CREATE TABLE IF NOT EXISTS tssoc210 (
    orno TEXT COLLATE "C" NOT NULL, acln INTEGER NOT NULL, crac TEXT, dsca TEXT, cstp TEXT, cagr TEXT,
    ccfg TEXT, crob TEXT, oseq INTEGER, ccll TEXT, crtc TEXT, prpr INTEGER, cupr INTEGER, obpr INTEGER,
    cprl TEXT, cstn TEXT, asta INTEGER, skla TEXT, sklb TEXT, sklc TEXT, acdu DOUBLE PRECISION, appo INTEGER,
    pstm TIMESTAMP, pftm TIMESTAMP, estm TIMESTAMP, lftm TIMESTAMP, astm TIMESTAMP, aftm TIMESTAMP,
    upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno, acln)
);

-- Lines of service orders.
CREATE TABLE IF NOT EXISTS tssoc205 (
    orno TEXT COLLATE "C" NOT NULL, line INTEGER NOT NULL, emno TEXT, acln INTEGER, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno, line)
);

-- Assignments of engineers to activities.
CREATE TABLE IF NOT EXISTS tssoc206 (
    orno TEXT COLLATE "C" NOT NULL, asln INTEGER NOT NULL, acln INTEGER, emno TEXT, dltm TIMESTAMP,
    actm TIMESTAMP, rjtm TIMESTAMP, pstm TIMESTAMP, pftm TIMESTAMP, astm TIMESTAMP, aftm TIMESTAMP,
    jctm TIMESTAMP, ltct TIMESTAMP, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (orno, asln)
);

-- Planned activities of installations.
CREATE TABLE IF NOT EXISTS tsspc200 (
    ccfg TEXT COLLATE "C" NOT NULL, crac TEXT COLLATE "C" NOT NULL, aseq INTEGER NOT NULL, dsca TEXT, cagr TEXT,
    cstp TEXT, cwoc TEXT, crob TEXT, oseq INTEGER, esct TIMESTAMP, psct TIMESTAMP, pfct TIMESTAMP,
    lfct TIMESTAMP, adur DOUBLE PRECISION, trtm DOUBLE PRECISION, skla TEXT, sklb TEXT, sklc TEXT, appo INTEGER,
    stat INTEGER, orno TEXT, acln INTEGER, upd_flag INTEGER DEFAULT 0,
    PRIMARY KEY (ccfg, crac, aseq)
);

-- Change-log tables: emptied by a full copy of their table

-- The last change that an incremental copy made to an order: I, U or D.
CREATE TABLE IF NOT EXISTS tssoc200_audit (
    orno TEXT COLLATE "C" NOT NULL, time TIMESTAMP, action TEXT,
    PRIMARY KEY (orno)
);

-- The last change to an activity.
CREATE TABLE IF NOT EXISTS tssoc210_audit (
    orno TEXT COLLATE "C" NOT NULL, acln INTEGER NOT NULL, time TIMESTAMP, action TEXT,
    PRIMARY KEY (orno, acln)
);

-- The last change to an assignment; the activity line is not part of the key.
CREATE TABLE IF NOT EXISTS tssoc206_audit (
    orno TEXT COLLATE "C" NOT NULL, acln INTEGER, asln INTEGER NOT NULL, time TIMESTAMP, action TEXT,
    PRIMARY KEY (orno, asln)
);
