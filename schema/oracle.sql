-- The local database on Oracle, in the current schema. Running it again changes nothing.
--
-- Each block ends with a line that holds "/" only. ORA-00955 (the name is taken) means that the table or the
-- index is already there.

-- Control tables

-- One row per copied table: lock, last update, filter of order statuses, place in the catalog.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tstables (
    tablename NVARCHAR2(30) NOT NULL, lutm DATE, in_use NUMBER(10) DEFAULT 0, reqd NUMBER(10) DEFAULT 0,
    FilterFlag NUMBER(10) DEFAULT 0, ERPTableID NVARCHAR2(30), tableid NUMBER(10), productid NVARCHAR2(10),
    CONSTRAINT tstables_key PRIMARY KEY (tablename)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- The groups that list the tables, with the label of the text that each is shown with.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tstreenodes (
    tableid NUMBER(10) NOT NULL, groupid NVARCHAR2(30) NOT NULL, label NVARCHAR2(30),
    CONSTRAINT tstreenodes_key PRIMARY KEY (groupid, tableid)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Display texts.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsi18ntext (
    label NVARCHAR2(30) NOT NULL, text NVARCHAR2(255),
    CONSTRAINT tsi18ntext_key PRIMARY KEY (label)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Tables that were copied in full. The two columns hold an empty date as the server reads it, no real times.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsfullsyncs (
    tablename NVARCHAR2(30) NOT NULL, starttime DATE, finishtime DATE,
    CONSTRAINT tsfullsyncs_key PRIMARY KEY (tablename)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- One row: days of calendar history to fetch, and whether calendars are expanded per day (1).
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsparameters (
    Qrxcal NUMBER(10), tvkparam NUMBER(10)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Master data
-- Every target table has upd_flag: 1 while a full copy has not yet confirmed the row, else 0.

-- Skill combinations. No key: every update sets all rows.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm000 (
    skla NVARCHAR2(4), sklb NVARCHAR2(4), sklc NVARCHAR2(4), untd NVARCHAR2(10),
    upd_flag NUMBER(10) DEFAULT 0
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Service types.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm030 (
    cstp NVARCHAR2(3) NOT NULL, dsca NVARCHAR2(60), prod NVARCHAR2(16), ract NVARCHAR2(6), dahe NUMBER(10),
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsmdm030_key PRIMARY KEY (cstp)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Service centers.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm100 (
    cwoc NVARCHAR2(6) NOT NULL, dsca NVARCHAR2(60), ccal NVARCHAR2(16), wctp NVARCHAR2(16),
    cmwc NVARCHAR2(6), cwar NVARCHAR2(16), clrt NVARCHAR2(16), srtp NVARCHAR2(16), srep NVARCHAR2(16),
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsmdm100_key PRIMARY KEY (cwoc)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Service areas.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm105 (
    csar NVARCHAR2(3) NOT NULL, dsca NVARCHAR2(60), artp NUMBER(10), cmsa NVARCHAR2(3), cwoc NVARCHAR2(6),
    cwar NVARCHAR2(16), trti NUMBER, dist NUMBER, ccha NUMBER, ccur NVARCHAR2(16), clrt NVARCHAR2(16),
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsmdm105_key PRIMARY KEY (csar)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Skills.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm130 (
    skll NVARCHAR2(4) NOT NULL, dsca NVARCHAR2(60), clrt NVARCHAR2(16), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsmdm130_key PRIMARY KEY (skll)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Skills of service employees.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm135 (
    emno NVARCHAR2(6) NOT NULL, skll NVARCHAR2(4) NOT NULL, cogr NVARCHAR2(6) NOT NULL, afct NUMBER,
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsmdm135_key PRIMARY KEY (emno, skll, cogr)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Service employees.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsmdm140 (
    emno NVARCHAR2(6) NOT NULL, dsca NVARCHAR2(60), cwoc NVARCHAR2(6), ccal NVARCHAR2(16),
    cadr NVARCHAR2(9), frmn NVARCHAR2(16), csar NVARCHAR2(3), ccar NVARCHAR2(16), ouser NVARCHAR2(60),
    mpod NUMBER, upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsmdm140_key PRIMARY KEY (emno)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Response times.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsclm020 (
    crtc NVARCHAR2(3) NOT NULL, dsca NVARCHAR2(60), ccal NVARCHAR2(16), rctt NUMBER(15,2),
    enst NUMBER(15,2), sltn NUMBER(15,2), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsclm020_key PRIMARY KEY (crtc)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Solution times; the key is a number of minutes.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsclm024 (
    sltt NUMBER(15,2) NOT NULL, dsca NVARCHAR2(60), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsclm024_key PRIMARY KEY (sltt)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Addresses.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tccom130 (
    cadr NVARCHAR2(9) NOT NULL, nama NVARCHAR2(100), namc NVARCHAR2(100), hono NVARCHAR2(30),
    name NVARCHAR2(100), pstc NVARCHAR2(30), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tccom130_key PRIMARY KEY (cadr)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Calendars and configuration

-- Availability types.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tcccp001 (
    ract NVARCHAR2(6) NOT NULL, dsca NVARCHAR2(60), ptmu NVARCHAR2(16), hrsd NVARCHAR2(16),
    avlb NVARCHAR2(16), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tcccp001_key PRIMARY KEY (ract)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Actual calendars: one row per availability interval of a calendar, local and UTC.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tcccp030 (
    ccal NVARCHAR2(16), ract NVARCHAR2(6), stdt DATE, sttm NUMBER(10), endt DATE, entm NUMBER(10),
    cutm NVARCHAR2(16), ccap NVARCHAR2(16), ustm DATE, uftm DATE, ahrs NVARCHAR2(60),
    upd_flag NUMBER(10) DEFAULT 0
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/
BEGIN
  EXECUTE IMMEDIATE 'CREATE INDEX tcccp030_ccal ON tcccp030 (ccal)';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- The intervals cut into one row per day, in UTC. Rows are added by position: keep the first four columns first.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tcccp031 (
    ccal NVARCHAR2(16), ract NVARCHAR2(6), ustm DATE, uftm DATE, upd_flag NUMBER(10) DEFAULT 0
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/
BEGIN
  EXECUTE IMMEDIATE 'CREATE INDEX tcccp031_ccal ON tcccp031 (ccal)';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Installations.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tscfg220 (
    ccfg NVARCHAR2(8) NOT NULL, dsca NVARCHAR2(60), ofbp NVARCHAR2(16), cwoc NVARCHAR2(6),
    csar NVARCHAR2(3), tecr NVARCHAR2(16), teca NVARCHAR2(16), tecb NVARCHAR2(16), cusc NVARCHAR2(60),
    czon NVARCHAR2(16), dist NVARCHAR2(16), trti NVARCHAR2(16), ccal NVARCHAR2(16), cadr NVARCHAR2(9),
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tscfg220_key PRIMARY KEY (ccfg)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Service objects of an installation.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tscfg200 (
    ccfg NVARCHAR2(8) NOT NULL, crob NVARCHAR2(47) NOT NULL, oseq NUMBER(5) NOT NULL, dsca NVARCHAR2(60),
    cogr NVARCHAR2(6), emno NVARCHAR2(6), cusc NVARCHAR2(60), manu NVARCHAR2(16), ccal NVARCHAR2(16),
    cdel NVARCHAR2(16), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tscfg200_key PRIMARY KEY (ccfg, crob, oseq)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Service orders

-- Service orders.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc200 (
    orno NVARCHAR2(9) NOT NULL, ccfg NVARCHAR2(8), ofbp NVARCHAR2(16), stna NVARCHAR2(100),
    lcad NVARCHAR2(9), cprj NVARCHAR2(16), ordt DATE, osta NUMBER(10), cwoc NVARCHAR2(6), csar NVARCHAR2(3),
    emno NVARCHAR2(6), blyn NUMBER(3), ityn NUMBER(3), crit NVARCHAR2(16), ordu NUMBER, tvdu NUMBER,
    pstm DATE, pftm DATE, estm DATE, lftm DATE, otim NUMBER(3), appo NUMBER(3), rsrp NUMBER(3), tstm DATE,
    astm DATE, aftm DATE, csco NVARCHAR2(16), csqu NVARCHAR2(16), stbp NVARCHAR2(16), emer NUMBER(3),
    minu NUMBER(10), ract DATE, upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tssoc200_key PRIMARY KEY (orno)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Activities of service orders.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc210 (
    orno NVARCHAR2(9) NOT NULL, acln NUMBER(10) NOT NULL, crac NVARCHAR2(8), dsca NVARCHAR2(255),
    cstp NVARCHAR2(3), cagr NVARCHAR2(16), ccfg NVARCHAR2(8), crob NVARCHAR2(47), oseq NUMBER(10),
    ccll NVARCHAR2(16), crtc NVARCHAR2(3), prpr NUMBER(10), cupr NUMBER(10), obpr NUMBER(10),
    cprl NVARCHAR2(16), cstn NVARCHAR2(16), asta NUMBER(10), skla NVARCHAR2(4), sklb NVARCHAR2(4),
    sklc NVARCHAR2(4), acdu NUMBER, appo NUMBER(3), pstm DATE, pftm DATE, estm DATE, lftm DATE, astm DATE,
    aftm DATE, upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tssoc210_key PRIMARY KEY (orno, acln)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Lines of service orders.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc205 (
    orno NVARCHAR2(9) NOT NULL, line NUMBER(10) NOT NULL, emno NVARCHAR2(6), acln NUMBER(10),
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tssoc205_key PRIMARY KEY (orno, line)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Assignments of engineers to activities.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc206 (
    orno NVARCHAR2(9) NOT NULL, asln NUMBER(5) NOT NULL, acln NUMBER(5), emno NVARCHAR2(6), dltm DATE,
    actm DATE, rjtm DATE, pstm DATE, pftm DATE, astm DATE, aftm DATE, jctm DATE, ltct DATE,
    upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tssoc206_key PRIMARY KEY (orno, asln)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Planned activities of installations.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tsspc200 (
    ccfg NVARCHAR2(8) NOT NULL, crac NVARCHAR2(8) NOT NULL, aseq NUMBER(10) NOT NULL, dsca NVARCHAR2(255),
    cagr NVARCHAR2(16), cstp NVARCHAR2(3), cwoc NVARCHAR2(6), crob NVARCHAR2(47), oseq NUMBER(10),
    esct DATE, psct DATE, pfct DATE, lfct DATE, adur NUMBER, trtm NUMBER, skla NVARCHAR2(4),
    sklb NVARCHAR2(4), sklc NVARCHAR2(4), appo NUMBER(3), stat NUMBER(10), orno NVARCHAR2(9),
    acln NUMBER(10), upd_flag NUMBER(10) DEFAULT 0,
    CONSTRAINT tsspc200_key PRIMARY KEY (ccfg, crac, aseq)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- Change-log tables: emptied by a full copy of their table

-- The last change that an incremental copy made to an order: I, U or D.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc200_audit (
    orno NVARCHAR2(9) NOT NULL, time DATE, action NVARCHAR2(1),
    CONSTRAINT tssoc200_audit_key PRIMARY KEY (orno)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- The last change to an activity.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc210_audit (
    orno NVARCHAR2(9) NOT NULL, acln NUMBER(10) NOT NULL, time DATE, action NVARCHAR2(1),
    CONSTRAINT tssoc210_audit_key PRIMARY KEY (orno, acln)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/

-- The last change to an assignment; the activity line is not part of the key.
BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE tssoc206_audit (
    orno NVARCHAR2(9) NOT NULL, acln NUMBER(10), asln NUMBER(10) NOT NULL, time DATE, action NVARCHAR2(1),
    CONSTRAINT tssoc206_audit_key PRIMARY KEY (orno, asln)
  )';
EXCEPTION
  WHEN OTHERS THEN IF SQLCODE <> -955 THEN RAISE; END IF;
END;
/
